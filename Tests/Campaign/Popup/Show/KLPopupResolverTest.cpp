#include "Campaign/Popup/Show/KLPopupResolver.h"

#include <gtest/gtest.h>

#include "Campaign/Popup/Show/KLCampaignStage.h"
#include "Support/PopupStage.h"

namespace kaleo {
namespace {

using Names = std::vector<std::string>;

constexpr const char* kLayout = R"({"properties": {"maskCloseEnabled": true, "maskActionId": "m1", "maskColor": {"a": 0.25}},
  "template": {"type": "column", "layout": {"width": "200", "height": "200"}, "subviews": [
    {"type": "label", "layout": {}, "properties": {"font": "10", "text": "Hello", "msgType": "title"}},
    {"type": "label", "layout": {}, "properties": {"font": "10", "text": "old", "msgType": "content"}},
    {"type": "image", "layout": {"height": "10"}, "properties": {"image": "https://e.com/a.gif"}},
    {"type": "row", "layout": {}, "subviews": [
      {"type": "label", "layout": {}, "properties": {"font": "10", "text": "World", "msgType": "content"}}]},
    {"type": "button", "layout": {"height": "50"}, "properties": {"font": "10", "text": "Go", "msgType": "title"},
     "action": {"IOS": [{"id": "a1", "type": "openlink", "value": "https://e.com", "closeable": true}]}}]}})";

class KLPopupResolverTest : public ::testing::Test {
 protected:
  KLPopupResolverTest() {
    stage.setContent(kLayout);
    resolver = std::make_unique<KLPopupResolver>(stage.surroundings, stage.presentation(), stage.downloads.downloader,
                                                 stage.downloads.directory.path());
  }
  void reach() {
    resolver->reachCampaign(stage.campaign());
    stage.settle();
  }
  KLObject tracked(std::size_t index) { return stage.downloads.host.nimbra->tracked().at(index).properties.asObject(); }
  /// Fails in the way told: one failed display, one notification, both delegates.
  void expectFailure(const std::string& code, const std::string& text) {
    EXPECT_EQ(stage.notifications, Names{kCampaignDidFailedNotification});
    EXPECT_EQ(stage.events(), Names{"$PlanPopupDisplay"});
    EXPECT_EQ(*tracked(0).find("$kl_succeed"), KLValue(0));
    EXPECT_EQ(*tracked(0).find("$kl_fail_reason"), KLValue(text));
    auto& notes = stage.delegates->notes;
    std::erase(notes, "campaignShouldStart");
    EXPECT_EQ(notes, (Names{"popupLoadFailed 42 " + code + " " + text, "campaignFailed " + code}));
    EXPECT_EQ(stage.outcomes.back(), "42: popup failed " + code + " " + text);
    EXPECT_FALSE(stage.isPopupOnScreen());
    stage.notifications.clear();
  }

  testing::PopupStage stage;
  std::unique_ptr<KLPopupResolver> resolver;
};

TEST_F(KLPopupResolverTest, ShowsTracksTellsAndEnds) {
  resolver->reachCampaign(stage.campaign());
  stage.threading.run();
  ASSERT_TRUE(stage.isPopupOnScreen());
  EXPECT_EQ(stage.events(), Names{"$PlanPopupDisplay"}) << "before it has appeared";
  EXPECT_EQ(stage.delegates->notes, Names{"campaignShouldStart"});
  EXPECT_EQ(*tracked(0).find("$kl_succeed"), KLValue(1));
  EXPECT_EQ(*tracked(0).find("$kl_msg_title"), KLValue("Hello"));
  EXPECT_EQ(*tracked(0).find("$kl_msg_content"), KLValue("World"));
  EXPECT_EQ(*tracked(0).find("$kl_msg_image_url"), KLValue("https://e.com/a.gif"));
  stage.settle();
  EXPECT_EQ(stage.delegates->notes, (Names{"campaignShouldStart", "campaignDidStart", "popupLoadSuccess 42"}));
  EXPECT_EQ(stage.window().root()->backgroundColor->alpha, 0.25);
  EXPECT_TRUE(stage.notifications.empty());

  stage.delegates->notes.clear();
  stage.window().tap({187.5, 286 + 95});
  stage.settle();
  EXPECT_EQ(stage.delegates->notes, (Names{"popupDidClick 42 1", "campaignDidClick 1", "popupDidClose 42", "campaignDidEnd"}));
  EXPECT_EQ(stage.notifications, Names{kCampaignDidEndNotification});
  EXPECT_EQ(stage.outcomes, (Names{"42: popup shown", "42: popup ended"}));
  EXPECT_EQ(stage.events(), (Names{"$PlanPopupDisplay", "$PlanPopupClick"}));
  EXPECT_EQ(*tracked(1).find("$kl_msg_action_id"), KLValue("a1"));
  EXPECT_EQ(*tracked(1).find("$kl_msg_element_type"), KLValue("button"));
  EXPECT_EQ(stage.downloads.host.log->messages(8),
            (Names{"Popup window will show.", "Popup window did show.", "Popup window will dismiss.", "Popup window did click.",
                   "Popup window did dismiss."}));
}

TEST_F(KLPopupResolverTest, AMaskTapIsAClick) {
  reach();
  stage.window().tap({5, 5});
  stage.settle();
  EXPECT_EQ(*tracked(1).find("$kl_msg_element_type"), KLValue("mask"));
  EXPECT_EQ(*tracked(1).find("$kl_close_type"), KLValue("POPUP_CLOSE_MASK"));
  EXPECT_EQ(*tracked(1).find("$kl_msg_action_id"), KLValue("m1"));
  EXPECT_FALSE(tracked(1).contains("$kl_msg_element_content"));
}

TEST_F(KLPopupResolverTest, WithoutIdsNothingHappens) {
  resolver->reachCampaign(std::make_shared<KLCampaign>(std::nullopt, "n", "UUID", stage.plan->popupWindowContent));
  resolver->reachCampaign(std::make_shared<KLCampaign>("42", "n", std::nullopt, stage.plan->popupWindowContent));
  stage.settle();
  EXPECT_FALSE(stage.isPopupOnScreen());
  EXPECT_TRUE(stage.events().empty() && stage.notifications.empty() && stage.delegates->notes.empty());
}

TEST_F(KLPopupResolverTest, ASecondCampaignIsDroppedUntilTheFirstHasGone) {
  reach();
  resolver->reachCampaign(std::make_shared<KLCampaign>("43", "other", "UUID-2", KLValue()));
  stage.settle();
  EXPECT_TRUE(stage.downloads.host.log->contains("Current plan ID is 42, new plan ID is 43. The new plan popup window don't show"));
  EXPECT_EQ(stage.events().size(), 1u);
  EXPECT_TRUE(stage.notifications.empty());
  EXPECT_EQ(stage.outcomes.back(), "43: popup failed 0 the popup of plan 42 is still on screen");
  stage.window().tap({5, 5});
  stage.settle();
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, TheNextCampaignMayComeWithTheNotification) {
  stage.downloads.center.addObserver(kCampaignDidEndNotification, [this](const auto&) {
    if (stage.notifications.size() == 1) resolver->reachCampaign(stage.campaign());
  });
  reach();
  stage.window().tap({5, 5});
  stage.settle();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, AControlGroupFailsUnlessThereIsAStrategy) {
  stage.plan->isControlGroup = true;
  reach();
  expectFailure("1003", "对照组");
  EXPECT_TRUE(stage.downloads.host.log->contains("The plan is control group, planID: 42"));
  stage.plan->strategyID = KLValue("s");
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, AStrategyNeedsATriggerPlan) {
  stage.plan->isTrigger = false;
  stage.plan->strategyID = KLValue("s");
  reach();
  expectFailure("1005", "计划下发 is_Trigger 为 false");
  stage.plan->strategyID.reset();
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, TheApplicationMayRefuse) {
  stage.delegates->shouldStart = false;
  reach();
  expectFailure("1004", "campaignShouldStart 接口返回 false");
  stage.delegates->implementsShouldStart = false;
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, WithoutADelegateNothingIsAsked) {
  stage.options->setCampaignDelegate({});
  stage.options->setPopupDelegate({});
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
  stage.options.reset();
  stage.window().tap({5, 5});
  stage.settle();
  reach();
  EXPECT_TRUE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, ContentThatIsMissingOrBrokenFails) {
  for (const char* text : {R"({"template": 5})", "5", "null"}) {
    stage.setContent(text);
    reach();
    expectFailure("1001", "获取测试弹窗内容失败");
    stage.delegates->notes.clear();
    stage.downloads.host.nimbra = std::make_shared<testing::FakeNimbra>();
    stage.downloads.host.registry.registerNimbraSDK(stage.downloads.host.nimbra);
  }
  stage.plan->popupWindowContent = KLValue(KLObject{{"content", 5}});
  reach();
  expectFailure("1001", "获取测试弹窗内容失败");
  EXPECT_TRUE(stage.downloads.host.log->contains(
      "Load failed with plan ID: 42, error: Error Domain=KaleoErrorDomain Code=1001 \"获取测试弹窗内容失败\""));
  stage.setContent("{");
  reach();
  EXPECT_EQ(stage.notifications, Names{kCampaignDidFailedNotification});
  EXPECT_FALSE(stage.isPopupOnScreen());
}

TEST_F(KLPopupResolverTest, DelegatesThatThrowAreIgnored) {
  stage.delegates->implementsShouldStart = false;
  stage.delegates->throws = true;
  reach();
  ASSERT_TRUE(stage.isPopupOnScreen());
  stage.window().tap({5, 5});
  stage.settle();
  EXPECT_EQ(stage.notifications, Names{kCampaignDidEndNotification});
  EXPECT_EQ(stage.delegates->notes.size(), 6u);
  stage.delegates->implementsShouldStart = true;
  reach();
  EXPECT_EQ(stage.notifications.back(), kCampaignDidFailedNotification) << "no answer is a refusal";
}

TEST_F(KLPopupResolverTest, ALostWindowEndsTheCampaign) {
  reach();
  stage.window().lose();
  stage.settle();
  EXPECT_EQ(stage.notifications, Names{kCampaignDidEndNotification});
  EXPECT_EQ(stage.delegates->notes.back(), "campaignDidEnd");
  EXPECT_EQ(stage.outcomes, (Names{"42: popup shown", "42: popup ended 0 the window was lost"}));
}

TEST_F(KLPopupResolverTest, ATestPopupIgnoresTheRulesAndReplacesTheOneBefore) {
  stage.delegates->shouldStart = false;
  const auto content = stage.plan->popupWindowContent;
  const auto test = [&] {
    resolver->reachTestCampaign(std::make_shared<KLCampaign>(std::nullopt, "test", std::nullopt, content));
    stage.settle();
  };
  test();
  ASSERT_TRUE(stage.isPopupOnScreen());
  EXPECT_FALSE(tracked(0).contains("$kl_plan_id"));
  test();
  EXPECT_EQ(stage.windows->windowsOnScreen(), 1u);
  EXPECT_EQ(stage.notifications.size(), 1u) << "the first one ended";
  EXPECT_TRUE(stage.outcomes.empty());
}

TEST_F(KLPopupResolverTest, ATestPopupBesideAPopupEndsNothingOfIt) {
  reach();
  resolver->reachTestCampaign(std::make_shared<KLCampaign>(std::nullopt, "test", std::nullopt, stage.plan->popupWindowContent));
  resolver->reachTestCampaign(std::make_shared<KLCampaign>(std::nullopt, "broken", std::nullopt, KLValue()));
  stage.settle();
  EXPECT_EQ(stage.windows->windowsOnScreen(), 2u);
  stage.window().tap({5, 5});
  stage.settle();
  EXPECT_EQ(stage.windows->windowsOnScreen(), 1u);
  EXPECT_TRUE(stage.notifications.empty());
  resolver->reachCampaign(stage.campaign());
  stage.settle();
  EXPECT_EQ(stage.windows->windowsOnScreen(), 1u) << "the first one still holds its place";
  EXPECT_TRUE(
      stage.downloads.host.log->contains("Test popup window load failed! Error: Error Domain=KaleoErrorDomain Code=1001 "
                                         "\"获取测试弹窗内容失败\""));
}

TEST_F(KLPopupResolverTest, ThreeTapsOnOneCloseEndItOnce) {
  stage.setContent(R"({"template": {"type": "button", "layout": {"width": "100", "height": "100"}, "action": {"IOS": [
      {"type": "close", "closeable": true}, {"type": "close", "closeable": true}]}}})");
  reach();
  stage.delegates->notes.clear();
  stage.window().tap({187, 386});
  stage.settle();
  EXPECT_EQ(stage.notifications, Names{kCampaignDidEndNotification});
  EXPECT_EQ(stage.outcomes.size(), 2u);
  EXPECT_EQ(std::count(stage.delegates->notes.begin(), stage.delegates->notes.end(), "campaignDidEnd"), 2);
}

TEST_F(KLPopupResolverTest, TheEndTakesThePopupDownAndTellsNobody) {
  reach();
  stage.delegates->notes.clear();
  resolver->reachCampaign(stage.campaign());
  resolver.reset();
  stage.settle();
  EXPECT_FALSE(stage.isPopupOnScreen());
  EXPECT_TRUE(stage.delegates->notes.empty() && stage.notifications.empty());
}

TEST_F(KLPopupResolverTest, TheEndDropsWhatHasNotBegun) {
  resolver->reachCampaign(stage.campaign());
  resolver.reset();
  stage.settle();
  EXPECT_TRUE(stage.events().empty() && stage.delegates->notes.empty());
}

TEST_F(KLPopupResolverTest, AcceptsWhatIsNotCustomised) {
  EXPECT_TRUE(resolver->canReachCampaign(KLCampaign("1", "n", "u", KLValue(KLObject{{"popup_type", "POPUP"}}))));
  EXPECT_FALSE(resolver->canReachCampaign(KLCampaign("1", "n", "u", KLValue(KLObject{{"popup_type", "CUSTOMIZED"}}))));
}

}  // namespace
}  // namespace kaleo
