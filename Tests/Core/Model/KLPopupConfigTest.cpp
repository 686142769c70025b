#include "Core/Model/KLPopupConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Foundation/KLCipher.h"
#include "Support/FakeHost.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::FakeHost;
using testing::fromJSON;

class KLPopupConfigTest : public ::testing::Test {
 protected:
  std::shared_ptr<KLPopupConfig> config(std::string_view json) {
    const KLValue value = fromJSON(json);
    return KLPopupConfig::fromResponseData(&value, log_);
  }

  FakeHost host_;
  KLLog log_{host_.registry};
};

constexpr const char* kAnswer =
    "{'min_sdk_version_required':'0.7.0','server_current_time':17,'config_pull_interval_ms':'60000','user_id':9,"
    "'popup_plans':[{'plan_id':1},{'plan_id':2}],'msg_limit_global':{'is_in_use':1,'limits':[{'unit':'DAY','value':1,'limit':3},7]}"
    ","
    "'popup_interval_global':{'unit':'MINUTE','value':5},'diagnose_config':{'k':[1]}}";

TEST_F(KLPopupConfigTest, ReadsTheAnswer) {
  const auto read = config(kAnswer);
  EXPECT_EQ(read->minSdkVersionRequired, "0.7.0");
  EXPECT_EQ(read->serverCurrentTime, "17");
  EXPECT_EQ(read->fetchPlansInterval, 60000);
  EXPECT_EQ(read->userId, "9");
  ASSERT_EQ(read->popupPlanModels.size(), 2u);
  EXPECT_TRUE(read->globalLimitModel.isInUse);
  ASSERT_EQ(read->globalLimitModel.limits.size(), 2u);
  EXPECT_EQ(read->globalLimitModel.limits[0].limit, 3);
  EXPECT_EQ(read->globalLimitModel.limits[1], KLPlanLimitModel{}) << "what is no object gives a neutral limit";
  EXPECT_EQ(read->globalIntervalModel, KLPlanTimeModel("MINUTE", false, 5));
  EXPECT_EQ(read->diagnosticCondition, fromJSON("{'k':[1]}"));
  EXPECT_FALSE(read->user);
}

TEST_F(KLPopupConfigTest, ReadsAnythingAsNothing) {
  for (const char* json : {"{}", "[]", "null", "'x'", "{'popup_plans':{},'msg_limit_global':[],'popup_interval_global':'x'}"}) {
    const auto read = config(json);
    EXPECT_FALSE(read->minSdkVersionRequired || read->userId || read->diagnosticCondition) << json;
    EXPECT_EQ(read->fetchPlansInterval, 0) << json;
    EXPECT_TRUE(read->popupPlanModels.empty()) << json;
    EXPECT_EQ(read->globalLimitModel, KLPopupGlobalLimitModel{}) << json;
  }
  EXPECT_EQ(KLPopupConfig::fromResponseData(nullptr, log_)->originalConfig(), "");
}

TEST_F(KLPopupConfigTest, KeepsTheWholeAnswerAsBase64Lines) {
  const KLValue value = fromJSON(kAnswer);
  const std::string text = *config(kAnswer)->originalConfig();
  const auto bytes = KLBase64Decode(text);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(KLJSON::parse(*bytes), value);
  EXPECT_EQ(text.substr(64, 2), "\r\n");
  EXPECT_NE(std::string(bytes->begin(), bytes->end()).find('\n'), std::string::npos) << "pretty";
  for (const char* json : {"[1]", "'x'", "null"}) {
    const KLValue other = fromJSON(json);
    EXPECT_EQ(KLPopupConfig::base64EncodedConfig(&other), "") << json;
  }
}

TEST_F(KLPopupConfigTest, TheUserReachesEveryPlanAndNoSharedOne) {
  const auto read = config(kAnswer);
  const auto shared = read->popupPlanModels[0];
  read->setUser({"d", "l", {}});
  EXPECT_EQ(read->user->loginId, "l");
  for (const auto& plan : read->popupPlanModels) EXPECT_EQ(plan->user, read->user);
  EXPECT_FALSE(shared->user);
}

TEST_F(KLPopupConfigTest, ComesBackFromItsArchiveWithUsersAndWithoutTheAnswer) {
  const auto read = config(kAnswer);
  read->setUser({"d", {}, "a"});
  const auto restored = KLPopupConfig::fromArchivedData(read->archivedData());
  ASSERT_TRUE(restored);
  EXPECT_EQ(restored->encode(), read->encode());
  EXPECT_FALSE(restored->originalConfig() || restored->diagnosticCondition);
  EXPECT_EQ(restored->user, read->user);
  for (const auto& plan : restored->popupPlanModels) EXPECT_EQ(plan->user, read->user);
  const KLValue archive = read->encode();
  std::vector<std::string> keys;
  for (const auto& entry : archive.asObject()) keys.push_back(entry.first);
  EXPECT_THAT(keys, ::testing::ElementsAre("minSdkVersionRequired", "serverCurrentTime", "fetchPlansInterval", "globalLimitModel",
                                           "globalIntervalModel", "popupPlanModels", "user", "userId"));
  EXPECT_FALSE(KLPopupConfig::fromArchivedData({}));
  EXPECT_FALSE(KLPopupConfig::fromArchivedData({0xff, 0x00}));
}

TEST_F(KLPopupConfigTest, ContentAsDeepAsJSONCanBeComesBackFromItsArchive) {
  const std::size_t levels = KLJSON::kMaxDepth - 4;  // around it: the content, its plan, the list of plans, the answer
  const std::string deep = std::string(levels, '[') + std::string(levels, ']');
  const auto read = config("{'popup_plans': [{'popup_window_content': {'a': " + deep + "}}]}");
  const auto restored = KLPopupConfig::fromArchivedData(read->archivedData());
  ASSERT_TRUE(restored);
  EXPECT_EQ(restored->encode(), read->encode());
}

TEST_F(KLPopupConfigTest, Copies) {
  const auto read = config(kAnswer);
  const auto copy = read->copy();
  EXPECT_EQ(copy->encode(), read->encode());
  EXPECT_FALSE(copy->originalConfig() || copy->diagnosticCondition);
  const auto bare = read->withoutPlans();
  EXPECT_TRUE(bare->popupPlanModels.empty());
  EXPECT_EQ(bare->userId, read->userId);
  EXPECT_EQ(bare->originalConfig(), read->originalConfig());
  EXPECT_EQ(read->popupPlanModels.size(), 2u);
}

TEST_F(KLPopupConfigTest, ListsEndAtTheirLimitWithALogLine) {
  std::string limits = "0";
  std::string texts = "'a'";
  for (std::size_t i = 0; i < KLParseContext::kMaxListLength; ++i) {
    limits += ",0";
    texts += ",'a'";
  }
  const auto read =
      config("{'msg_limit_global':{'limits':[" + limits + "]},'popup_plans':[{'page_filter':{'params':[" + texts + "]}}]}");
  EXPECT_EQ(read->globalLimitModel.limits.size(), KLParseContext::kMaxListLength);
  EXPECT_EQ(read->popupPlanModels[0]->pageFilter.params.asArray().size(), KLParseContext::kMaxListLength);
  const std::string line = "A list of the popup config has 10001 entries, only 10000 are read";
  EXPECT_EQ(host_.log->messages(1), (std::vector<std::string>{line, line}));
}

TEST_F(KLPopupConfigTest, TextsEndAtTheirLimitWithALogLine) {
  const std::string longest(KLParseContext::kMaxTextLength, 'x');
  const auto read = config("{'user_id':'" + longest + "x','popup_plans':[{'cname':'" + longest +
                           "','page_filter':{'params':['a','" + longest + "x']}}]}");
  EXPECT_EQ(read->userId, "");
  EXPECT_EQ(read->popupPlanModels[0]->cname, longest);
  EXPECT_TRUE(read->popupPlanModels[0]->pageFilter.params.asArray().empty());
  const std::string line = "A text of the popup config has 65537 bytes, more than 65536, and is not read";
  EXPECT_EQ(host_.log->messages(1), (std::vector<std::string>{line, line}));
}

TEST_F(KLPopupConfigTest, NestedFiltersEndAtTheirLimitWithALogLine) {
  std::string filter = "{}";
  for (int i = 0; i < 200; ++i) filter = "{'filters':[" + filter + "]}";
  const auto read = config("{'popup_plans':[{'event_permission':" + filter + "}]}");
  EXPECT_EQ(host_.log->messages(1).size(), 1u);
  const auto restored = KLPopupConfig::fromArchivedData(read->archivedData());
  ASSERT_TRUE(restored) << "what is read can be kept";
  EXPECT_EQ(restored->encode(), read->encode());
}

}  // namespace
}  // namespace kaleo
