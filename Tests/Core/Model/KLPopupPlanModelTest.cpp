#include "Core/Model/KLPopupPlanModel.h"

#include <gtest/gtest.h>

#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::fromJSON;

std::shared_ptr<KLPopupPlanModel> plan(std::string_view json) {
  const KLValue value = fromJSON(json);
  return KLPopupPlanModel::fromResponseData(&value);
}

constexpr const char* kFullPlan = R"({
  "plan_id": "42", "audience_id": 7, "absolute_priority": 3, "is_audience": "true", "is_control_group": 1,
  "global_msg_limit_enabled": true, "cname": "Spring", "status": "ACTIVE", "last_update_config_time": 1700, "expire_at": 1800000000000,
  "popup_window_content": {"content": "{}"}, "re_enter": {"unit": "DAY", "natural": true, "value": 1, "limit": 2},
  "page_filter": {"function": "in", "params": ["a"]}, "popup_interval": {"unit": "HOUR", "value": "3"},
  "convert_window": {"unit": "WEEK", "value": 1},
  "pattern_popup": {"relation": "OR", "matcher_list": [{"event_name": "Buy", "params": [2]}, "x", {"event_name": "Look"}]},
  "window_update": {"trigger_window": "1"}, "strategy_id": 12, "is_trigger": true, "section_id": {"a": 1},
  "event_permission": {"relation": "and", "conditions": [{"field": "event.a", "function": "isSet", "params": []}], "filters": [{}]},
  "display_time_config": {"natural_repeat_cycle": {"repeat_cycle": "DAY", "time_ranges": [{"start_time": "09:00", "end_time": "10:00"}]}}
})";

TEST(KLPopupPlanModel, ReadsEveryField) {
  const auto model = plan(kFullPlan);
  EXPECT_EQ(model->planID, 42);
  EXPECT_EQ(model->planKey(), "42");
  EXPECT_EQ(model->audienceID, 7);
  EXPECT_EQ(model->absolutePriority, 3);
  EXPECT_TRUE(model->isAudience && model->isControlGroup && model->globalMsgLimitEnabled && model->isTrigger);
  EXPECT_EQ(model->cname, "Spring");
  EXPECT_EQ(model->lastUpdateConfigTime, "1700");
  EXPECT_EQ(model->expireAt, "1800000000000");
  EXPECT_EQ(model->reEnter.limit, 2);
  EXPECT_EQ(model->reEnter.timeModel(), KLPlanTimeModel("DAY", true, 1));
  EXPECT_EQ(model->pageFilter.function, "in");
  EXPECT_EQ(model->popupInterval, KLPlanTimeModel("HOUR", false, 3));
  EXPECT_EQ(model->convertWindow, KLPlanTimeModel("WEEK", false, 1));
  ASSERT_EQ(model->patternPopup.matcherList.size(), 2u);
  EXPECT_EQ(model->patternPopup.matcherList[1].eventName, "Look");
  EXPECT_EQ(model->windowUpdate, fromJSON("{'trigger_window':'1'}"));
  EXPECT_EQ(model->strategyID, KLValue(12));
  EXPECT_EQ(model->sectionID, fromJSON("{'a':1}"));
  EXPECT_EQ(model->permissionFilter.filters.size(), 1u);
  ASSERT_TRUE(model->repeatDisplay);
  EXPECT_TRUE(model->repeatDisplay->config.isDaily());
}

TEST(KLPopupPlanModel, MissingFieldsAreNeutral) {
  for (const char* json : {"{}", "[]", "'x'", "null", "7"}) {
    const auto model = plan(json);
    EXPECT_EQ(*model, KLPopupPlanModel{}) << json;
    EXPECT_FALSE(model->cname || model->status || model->expireAt || model->convertWindow || model->windowUpdate ||
                 model->strategyID || model->sectionID || model->repeatDisplay);
    EXPECT_EQ(model->popupWindowContent, KLValue(KLObject{}));
  }
  EXPECT_EQ(*KLPopupPlanModel::fromResponseData(nullptr), KLPopupPlanModel{});
}

TEST(KLPopupPlanModel, CoercesWhatIsOfAnotherKind) {
  const auto model = plan(
      "{'plan_id':'abc','is_audience':'no','cname':null,'status':5,'strategy_id':null,'popup_window_content':'text',"
      "'convert_window':{},'window_update':[],'display_time_config':[],'platform':'x','re_enter':4}");
  EXPECT_EQ(model->planID, 0);
  EXPECT_FALSE(model->isAudience);
  EXPECT_EQ(model->cname, "");
  EXPECT_EQ(model->status, "5");
  EXPECT_EQ(model->strategyID, KLValue()) << "as received";
  EXPECT_EQ(model->popupWindowContent, KLValue(KLObject{}));
  EXPECT_FALSE(model->convertWindow || model->windowUpdate || model->repeatDisplay || model->platform);
  EXPECT_EQ(model->reEnter, KLPlanLimitModel{});
  EXPECT_TRUE(plan("{'display_time_config':{}}")->repeatDisplay);
  EXPECT_TRUE(plan("{'window_update':{}}")->windowUpdate);
}

TEST(KLPopupPlanModel, ExpiresAfterItsMillisecond) {
  const auto model = plan("{'expire_at':'1700000000000'}");
  EXPECT_FALSE(model->isExpired(1700000000.0));
  EXPECT_TRUE(model->isExpired(1700000000.001));
  for (const char* json : {"{}", "{'expire_at':'never'}", "{'expire_at':null}", "{'expire_at':{}}"}) {
    EXPECT_TRUE(plan(json)->isExpired(1)) << json;
  }
}

TEST(KLPopupPlanModel, IsActiveByItsExactStatus) {
  EXPECT_TRUE(plan("{'status':'ACTIVE'}")->isActive());
  for (const char* json : {"{'status':'active'}", "{'status':'ACTIVE '}", "{'status':''}", "{}"})
    EXPECT_FALSE(plan(json)->isActive()) << json;
}

TEST(KLPopupPlanModel, ListsKeepTheServersOrder) {
  const auto ids = [](const char* json) {
    const KLValue value = fromJSON(json);
    std::vector<std::int64_t> found;
    for (const auto& model : KLPopupPlanModel::plansFromResponseData(&value)) found.push_back(model->planID);
    return found;
  };
  EXPECT_EQ(ids("[{'plan_id':3},5,{'plan_id':1},null,[],{}]"), (std::vector<std::int64_t>{3, 1, 0}));
  for (const char* json : {"{}", "'x'", "[]", "null"}) EXPECT_TRUE(ids(json).empty()) << json;
  EXPECT_TRUE(KLPopupPlanModel::plansFromResponseData(nullptr).empty());
}

TEST(KLPopupPlanModel, ComesBackFromItsArchiveWithoutItsUser) {
  auto model = plan(kFullPlan);
  model->platform = "IOS";
  model->user = KaleoUser{"d", {}, {}};
  const auto restored = KLPopupPlanModel::decode(model->encode());
  EXPECT_EQ(*restored, *model);
  EXPECT_EQ(restored->planKey(), "42");
  EXPECT_FALSE(restored->isExpired(1700000000));
  EXPECT_FALSE(restored->user);
  EXPECT_EQ(*KLPopupPlanModel::decode(KLPopupPlanModel{}.encode()), KLPopupPlanModel{});
}

TEST(KLPopupPlanModel, ArchivesUnderItsKeys) {
  auto model = plan(kFullPlan);
  model->platform = "IOS";
  const KLValue archive = model->encode();
  std::vector<std::string> keys;
  for (const auto& entry : archive.asObject()) keys.push_back(entry.first);
  EXPECT_EQ(keys, (std::vector<std::string>{
                      "planID",        "isAudience",       "isControlGroup",        "audienceID",       "status",
                      "cname",         "platform",         "popupWindowContent",    "absolutePriority", "lastUpdateConfigTime",
                      "expireAt",      "reEnter",          "globalMsgLimitEnabled", "pageFilter",       "popupInterval",
                      "convertWindow", "patternPopup",     "windowUpdate",          "strategyID",       "isTrigger",
                      "sectionID",     "permissionFilter", "repeatDisplay"}));
}

TEST(KLPopupPlanModel, DiffersInEachField) {
  const KLPopupPlanModel neutral;
  const KLValue full = fromJSON(kFullPlan);
  for (const auto& [key, value] : full.asObject()) {
    const KLValue one(KLObject{{key, value}});
    EXPECT_FALSE(*KLPopupPlanModel::fromResponseData(&one) == neutral) << key;
  }
}

}  // namespace
}  // namespace kaleo
