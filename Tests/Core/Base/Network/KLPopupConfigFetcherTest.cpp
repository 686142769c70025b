#include "Core/Base/Network/KLPopupConfigFetcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/Base/Network/CountingRandom.h"
#include "Foundation/KLJSON.h"
#include "Support/FakeHTTPSession.h"
#include "Support/FakeHost.h"

namespace kaleo {
namespace {

class KLPopupConfigFetcherTest : public ::testing::Test {
 protected:
  std::shared_ptr<KLHTTPTask> fetch(const std::string& base = "https://host/base") {
    return fetcher.fetchCampaignsWithSuccess(
        base,
        [this](std::optional<KLValue> answer, std::shared_ptr<KLPopupConfig> model) {
          ++successes;
          response = std::move(answer);
          config = std::move(model);
        },
        [this](std::optional<KLError> failure) {
          ++failures;
          error = std::move(failure);
        });
  }
  void answer(std::string_view body, int status = 200) {
    session.answer(session.size() - 1, KLBytes(body.begin(), body.end()), status);
  }
  std::string sentURL() const { return session[session.size() - 1].request.url; }

  testing::FakeHost host;
  const KLLog log{host.registry};
  const NBBridge bridge{host.registry, log};
  testing::FakeHTTPSession session;
  testing::CountingRandom random;
  KLNetwork network{session, log, random};
  KLPopupConfigFetcher fetcher{network, bridge, log};
  int successes = 0, failures = 0;
  std::optional<KLValue> response;
  std::optional<KLError> error;
  std::shared_ptr<KLPopupConfig> config;
};

TEST_F(KLPopupConfigFetcherTest, AsksForThePresentUsersPlansBelowTheBaseURL) {
  host.nimbra->setIdentity("a b&c");
  const std::string query = "distinct_id=a%20b%26c&platform=IOS&project=default&sdk_version=0.7.3";
  const std::pair<const char*, const char*> bases[] = {
      {"https://host", "https://host/klo/user_popup_configs?"},
      {"https://host/", "https://host/klo/user_popup_configs?"},
      {"http://host:8080/a/b/", "http://host:8080/a/b/klo/user_popup_configs?"},
      {"https://host/base?project=x", "https://host/base/klo/user_popup_configs?project=x&"},
  };
  for (const auto& [base, url] : bases) {
    fetch(base);
    EXPECT_EQ(sentURL(), url + query);
  }
}

TEST_F(KLPopupConfigFetcherTest, WithoutDistinctIdOrBaseURLNothingIsSentAndNoCallbackRuns) {
  EXPECT_EQ(fetch("no url"), nullptr);
  EXPECT_EQ(fetch(""), nullptr);
  host.nimbra->setIdentity(std::nullopt);
  EXPECT_EQ(fetch(), nullptr);
  EXPECT_EQ(session.size(), 0u);
  EXPECT_EQ(successes + failures, 0);
  EXPECT_EQ(host.log->messages(1), (std::vector<std::string>{"Invalid api base url:  no url",
                                                             "Invalid api base url:  ", "Get Nimbra distinctId value failed"}));
}

TEST_F(KLPopupConfigFetcherTest, TheModelBearsTheIdentityOfTheRequest) {
  host.nimbra->setIdentity("asked", "login", "anonymous");
  fetch();
  host.nimbra->setIdentity("later");
  answer(R"({"user_id":"17","config_pull_interval_ms":600000})");
  ASSERT_EQ(successes, 1);
  EXPECT_EQ(config->user, (KaleoUser{"asked", "login", "anonymous"}));
  EXPECT_EQ(config->userId, "17");
  EXPECT_EQ(config->fetchPlansInterval, 600000);
  ASSERT_TRUE(response.has_value());
  EXPECT_TRUE(host.log->contains(R"({"user_id":"17","config_pull_interval_ms":600000})"));
}

TEST_F(KLPopupConfigFetcherTest, AnAnswerThatIsNoJSONGivesAConfigurationWithoutPlans) {
  fetch();
  answer("<html>");
  ASSERT_EQ(successes, 1);
  EXPECT_FALSE(response.has_value());
  ASSERT_NE(config, nullptr);
  EXPECT_TRUE(config->popupPlanModels.empty());
  EXPECT_EQ(config->originalConfig(), "");
  EXPECT_TRUE(config->user.has_value());
  EXPECT_TRUE(
      host.log->contains("The popup configuration's answer is no JSON object; going "
                         "on with a configuration without plans"));

  fetch();
  answer(std::string(KLJSON::kMaxDepth + 1, '[') + std::string(KLJSON::kMaxDepth + 1, ']'));
  EXPECT_EQ(successes, 2);
  EXPECT_THAT(host.log->messages(1), ::testing::Contains(::testing::HasSubstr("too deep")));  // says which bound was hit
}

TEST_F(KLPopupConfigFetcherTest, FailuresReachTheCallerUnchanged) {
  fetch();
  answer("{}", 500);
  EXPECT_EQ(failures, 1);
  EXPECT_FALSE(error.has_value());
  EXPECT_TRUE(host.log->contains("The popup configuration could not be fetched: the server answered with a status other than 200"));
  fetch();
  const KLError refused{kKLTransportErrorDomain, 7, "refused"};
  session.fail(1, refused);
  EXPECT_EQ(error, refused);
  EXPECT_TRUE(host.log->contains("The popup configuration could not be fetched: refused"));
  EXPECT_EQ(successes, 0);
}

}  // namespace
}  // namespace kaleo
