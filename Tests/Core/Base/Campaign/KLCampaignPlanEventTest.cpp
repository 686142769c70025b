#include "Core/Base/Campaign/KLCampaignPlanEvent.h"

#include <gtest/gtest.h>

#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"

namespace kaleo {
namespace {

class KLCampaignPlanEventTest : public ::testing::Test {
 protected:
  void SetUp() override {
    plan->planID = 42;
    plan->audienceID = 7;
    plan->compile();
    plan->user = KaleoUser{"d", "l", std::nullopt};
    campaign->triggerTime = KLDate{1234.5};
  }
  KLCampaignPlanEvent event() { return {campaign, surroundings}; }
  KLObject superProperties() { return event().superProperties(); }

  testing::ManualThreading threading;
  testing::FakeHost host;
  KLLog log{host.registry};
  NBBridge bridge{host.registry, log};
  KLNotificationCenter center;
  std::shared_ptr<KLPopupPlanModel> plan = std::make_shared<KLPopupPlanModel>();
  std::shared_ptr<KLCampaign> campaign = std::make_shared<KLCampaign>("42", "spring", "UUID-1", KLValue(KLObject{}));
  KLCampaignSurroundings surroundings{threading,
                                      *threading.mainQueue(),
                                      center,
                                      bridge,
                                      log,
                                      [] { return nullptr; },
                                      [this](const std::string& id) { return id == "42" ? plan : nullptr; }};
};

TEST_F(KLCampaignPlanEventTest, BothEventsHaveThePlanAndTheMessageInCommon) {
  auto planEvent = event();
  planEvent.msgTitle = "title";
  planEvent.msgContent = "content";
  planEvent.msgImageURL = "https://e.com/i";
  EXPECT_EQ(planEvent.superProperties(), (KLObject{{"$kl_plan_id", "42"},
                                                   {"$kl_audience_id", "7"},
                                                   {"$kl_plan_strategy_id", "0"},
                                                   {"$kl_plan_type", "运营计划"},
                                                   {"$kl_channel_service_name", "KALEO"},
                                                   {"$kl_channel_category", "POPUP"},
                                                   {"$kl_platform_tag", "IOS"},
                                                   {"$kl_msg_id", "UUID-1"},
                                                   {"$kl_lib_version", "0.7.3"},
                                                   {"$kl_msg_title", "title"},
                                                   {"$kl_msg_content", "content"},
                                                   {"$kl_msg_image_url", "https://e.com/i"}}));
}

TEST_F(KLCampaignPlanEventTest, StrategyAudienceAndSectionFollowThePlan) {
  plan->isControlGroup = true;
  plan->audienceID = 0;
  plan->strategyID = KLValue();
  plan->sectionID = KLValue();
  EXPECT_EQ(*superProperties().find("$kl_plan_strategy_id"), KLValue("-1"));
  EXPECT_FALSE(superProperties().contains("$kl_audience_id"));
  EXPECT_FALSE(superProperties().contains("$kl_section_id"));
  EXPECT_FALSE(superProperties().contains("$kl_msg_title"));
  plan->strategyID = KLValue(9);
  plan->sectionID = KLValue("s1");
  EXPECT_EQ(*superProperties().find("$kl_plan_strategy_id"), KLValue(9));
  EXPECT_EQ(*superProperties().find("$kl_plan_type"), KLValue("新资源位"));
  EXPECT_EQ(*superProperties().find("$kl_section_id"), KLValue("s1"));
}

TEST_F(KLCampaignPlanEventTest, ATestPopupHasNoPlan) {
  campaign = std::make_shared<KLCampaign>(std::nullopt, "test", std::nullopt, KLValue(KLObject{}));
  const KLObject properties = event().displayPropertiesWithError(std::nullopt);
  for (const char* key : {"$kl_plan_id", "$kl_audience_id", "$kl_plan_strategy_id", "$kl_msg_id", "kl_distinctId", "$time"}) {
    EXPECT_FALSE(properties.contains(key)) << key;
  }
  EXPECT_EQ(*properties.find("$kl_plan_type"), KLValue("运营计划"));
}

TEST_F(KLCampaignPlanEventTest, DisplaysCarryTheOutcomeTheUserAndTheTimeOfTheTrigger) {
  event().trackPlanPopupDisplayWithError(std::nullopt);
  event().trackPlanPopupDisplayWithError(KLError::kaleo(KLError::ControlGroup, "对照组"));
  const auto tracked = host.nimbra->tracked();
  ASSERT_EQ(tracked.size(), 2u);
  EXPECT_EQ(tracked[0].event, "$PlanPopupDisplay");
  const KLObject& shown = tracked[0].properties.asObject();
  EXPECT_EQ(*shown.find("$kl_succeed"), KLValue(1));
  EXPECT_FALSE(shown.contains("$kl_fail_reason"));
  EXPECT_EQ(*shown.find("kl_distinctId"), KLValue("d"));
  EXPECT_EQ(*shown.find("kl_loginId"), KLValue("l"));
  EXPECT_FALSE(shown.contains("kl_anonymousId"));
  EXPECT_TRUE(shown.find("$time")->isDate());
  EXPECT_EQ(shown.find("$time")->asDate(), KLDate{1234.5});
  const KLObject& failed = tracked[1].properties.asObject();
  EXPECT_EQ(*failed.find("$kl_succeed"), KLValue(0));
  EXPECT_EQ(*failed.find("$kl_fail_reason"), KLValue("对照组"));
}

TEST_F(KLCampaignPlanEventTest, ClicksCarryTheElementAndItsFirstAction) {
  KLHeadlessScreen screen;
  const KLPopupReading reading{screen, log, {}};
  const KLPopupElementModel element(KLJSON::parse(R"({"type": "button", "properties": {"text": "OK"}, "action": {"IOS": [
      {"id": "a1", "type": "openlink", "$kl_close_type": "POPUP_CLOSE_BUTTON"}, {"id": "a2", "type": "close"}]}})")
                                        .value(),
                                    reading);
  event().trackPlanPopupClickWithElementModel(&element);
  ASSERT_EQ(host.nimbra->tracked().size(), 1u);
  EXPECT_EQ(host.nimbra->tracked()[0].event, "$PlanPopupClick");
  const KLObject properties = host.nimbra->tracked()[0].properties.asObject();
  EXPECT_EQ(*properties.find("$kl_msg_element_type"), KLValue("button"));
  EXPECT_EQ(*properties.find("$kl_msg_element_content"), KLValue("OK"));
  EXPECT_EQ(*properties.find("$kl_msg_element_action"), KLValue("openlink"));
  EXPECT_EQ(*properties.find("$kl_msg_action_id"), KLValue("a1"));
  EXPECT_EQ(*properties.find("$kl_close_type"), KLValue("POPUP_CLOSE_BUTTON"));
  EXPECT_FALSE(properties.contains("$kl_succeed"));
  EXPECT_FALSE(properties.contains("$time"));
  EXPECT_EQ(event().clickedPropertiesWithElementModel(nullptr), event().superProperties());
}

}  // namespace
}  // namespace kaleo
