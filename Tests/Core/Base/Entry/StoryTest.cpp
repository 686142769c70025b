#include <gmock/gmock.h>

#include <atomic>
#include <mutex>

#include "Foundation/KLCurlHTTPSession.h"
#include "Support/Application.h"
#include "Support/Gate.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using testing::answer;
using testing::Application;
using testing::layout;
using testing::popupPlan;

/// Answers what the test says, and how popups have converted.
class StoryServer {
 public:
  explicit StoryServer(KLValue first) : answer_(std::move(first)) {}

  void setAnswer(KLValue answer) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
  }
  /// "": not yet.
  void setConvertTime(const std::string& time) {
    const std::lock_guard lock(mutex_);
    convertTime_ = time;
  }
  std::string url() const { return server_.url(); }

 private:
  void reply(httplib::Response& response) {
    const std::lock_guard lock(mutex_);
    response.set_content(KLJSON::serialize(answer_), "application/json");
  }
  void replyConversions(const httplib::Request& request, httplib::Response& response) {
    const std::lock_guard lock(mutex_);
    const std::string uuid = request.get_param_value("popup_display_uuids");
    const KLValue reply = KLValue::Array{KLObject{{"popup_display_uuid", uuid}, {"convert_time", convertTime_}}};
    response.set_content(KLJSON::serialize(reply), "application/json");
  }

  std::mutex mutex_;
  KLValue answer_;           ///< guarded by mutex_
  std::string convertTime_;  ///< guarded by mutex_
  LoopbackServer server_{[this](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [this](const auto&, auto& response) { reply(response); });
    routes.Get("/klo/popup_displays", [this](const auto& request, auto& response) { replyConversions(request, response); });
  }};
};

void leaveAndReturn(Application& application) {
  application.post(kKLApplicationDidEnterBackgroundNotification);
  application.post(kKLApplicationDidBecomeActiveNotification);
}

/// A network that the test switches on.
class SwitchedNetwork : public KLReachabilitySource {
 public:
  void start(Changed changed) override {
    const std::lock_guard lock(mutex_);
    changed_ = std::move(changed);
    changed_(KLReachability::NotReachable);
    started_.open();
  }
  void stop() override {
    const std::lock_guard lock(mutex_);
    changed_ = nullptr;
  }
  void switchOn() {
    started_.pass();
    const std::lock_guard lock(mutex_);
    if (changed_) changed_(KLReachability::Other);
  }

 private:
  testing::Gate started_;
  std::mutex mutex_;
  Changed changed_;  ///< guarded by mutex_
};

/// A session under which the name of a far server means the near one.
class NamedServer : public KLHTTPSession {
 public:
  explicit NamedServer(std::string url) : url_(std::move(url)) {}
  static constexpr std::string_view kURL = "http://popups.example";

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override {
    request.url.replace(0, kURL.size(), url_);
    return session_.dataTask(std::move(request), std::move(completion));
  }

 private:
  const std::string url_;
  KLCurlHTTPSession session_{KLHTTPSettings{}};
};

TEST(StoryTest, OfflineAtStartThenOnline) {
  StoryServer server(answer({popupPlan(1, "Pay", layout())}));
  const auto network = std::make_shared<SwitchedNetwork>();
  Application application({.server = std::string(NamedServer::kURL), .adjust = [&](KLPlatform& platform) {
                             platform.reachability = network;
                             platform.session = std::make_shared<NamedServer>(server.url());
                           }});
  application.start();
  application.track("Pay");  // waits with the start
  network->switchOn();
  EXPECT_TRUE(application.delegates->waitFor("campaignDidStart 1"));
}

TEST(StoryTest, TheServerShortensTheInterval) {
  StoryServer server(answer({popupPlan(1, "Pay", layout())}, R"({"config_pull_interval_ms": 1000})"));
  Application application({.server = server.url()});
  application.start();
  ASSERT_TRUE(application.installs(1));
  server.setAnswer(answer({popupPlan(2, "Pay", layout())}, R"({"config_pull_interval_ms": 1000})"));
  ASSERT_TRUE(application.installs(3));  // at least one of them was asked for after the change
  EXPECT_TRUE(application.showsAndCloses("Pay", 2));
  EXPECT_EQ(application.options->fetchPlansInterval(), 1);
}

TEST(StoryTest, VersionRefusedAndAcceptedAgain) {
  const auto plans = [](const char* more) { return answer({popupPlan(1, "Pay", layout())}, more); };
  StoryServer server(plans(R"({"min_sdk_version_required": "0.7.3"})"));
  Application application({.server = server.url()});
  application.start();
  EXPECT_TRUE(application.showsAndCloses("Pay", 1, 1));
  server.setAnswer(plans(R"({"min_sdk_version_required": "0.8"})"));
  leaveAndReturn(application);
  ASSERT_TRUE(application.log().waitFor("minSdkVersion larger than current SDK version"));
  EXPECT_TRUE(application.ignores("Pay"));
  server.setAnswer(plans("{}"));
  leaveAndReturn(application);
  ASSERT_TRUE(application.installs(2));
  EXPECT_TRUE(application.showsAndCloses("Pay", 1, 2));
}

TEST(StoryTest, ReportedConversionFreesThePlan) {
  StoryServer server(answer({popupPlan(1, "Pay", layout(), R"({"convert_window": {"unit": "DAY", "value": 3}})")}));
  Application application({.server = server.url()});
  application.start();
  ASSERT_TRUE(application.showsAndCloses("Pay", 1, 1));
  ASSERT_TRUE(application.log().waitFor("convert result is: NO"));
  application.track("Pay");
  ASSERT_TRUE(application.ignores("Other"));  // by now the first one has been decided
  const auto calls = application.delegates->calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "campaignShouldStart 1"), 1);
  server.setConvertTime("2026-01-01 00:00:00");
  leaveAndReturn(application);  // asks anew, and at once
  ASSERT_TRUE(application.log().waitFor("convert result is: YES"));
  EXPECT_TRUE(application.showsAndCloses("Pay", 1, 2));
}

/// A host whose identity cannot be had for now.
struct BlockingNimbra : testing::FakeNimbra {
  explicit BlockingNimbra(testing::Gate& gate) : gate_(gate) {}
  std::optional<std::string> distinctId() const override {
    gate_.pass();
    return FakeNimbra::distinctId();
  }

 private:
  testing::Gate& gate_;
};

TEST(StoryTest, HostThatBlocksHoldsOnlyTheWorkerUp) {
  StoryServer server(answer({popupPlan(1, "Pay", layout())}));
  testing::Gate gate;
  Application application({.server = server.url()});
  const auto nimbra = std::make_shared<BlockingNimbra>(gate);
  nimbra->setIdentity("alice");
  application.host().registry.registerNimbraSDK(nimbra);
  application.start();
  ASSERT_TRUE(gate.waitForArrivals(1));
  application.track("Pay");
  leaveAndReturn(application);
  EXPECT_FALSE(application.library->handleOpenURL("app://elsewhere"));
  application.library->fetchCampaignsWithCompletion([](const auto&) {});
  EXPECT_EQ(application.windowsOnScreen(), 0u);
  gate.open();
  EXPECT_TRUE(application.delegates->waitFor("campaignDidStart 1"));
}

}  // namespace
}  // namespace kaleo
