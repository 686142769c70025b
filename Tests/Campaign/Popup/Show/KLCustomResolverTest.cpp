#include "Campaign/Popup/Show/KLCustomResolver.h"

#include <gtest/gtest.h>

#include <thread>

#include "Foundation/KLThreads.h"
#include "Support/PopupStage.h"

namespace kaleo {
namespace {

using Names = std::vector<std::string>;

class KLCustomResolverTest : public ::testing::Test {
 protected:
  KLCustomResolverTest() { stage.setContent("anything"); }
  void reach() {
    resolver.reachCampaign(stage.campaign());
    stage.settle();
  }
  void reachTest(const char* content) {
    resolver.reachTestCampaign(
        std::make_shared<KLCampaign>(std::nullopt, "test", std::nullopt, KLValue(KLObject{{"content", content}})));
    stage.settle();
  }
  void expectFailure(const std::string& code, const std::string& text) {
    EXPECT_EQ(stage.notifications, Names{kCampaignDidFailedNotification});
    ASSERT_EQ(stage.events(), Names{"$PlanPopupDisplay"});
    EXPECT_EQ(*stage.downloads.host.nimbra->tracked()[0].properties.find("$kl_fail_reason"), KLValue(text));
    EXPECT_EQ(stage.delegates->notes.back(), "campaignFailed " + code);
    EXPECT_EQ(stage.outcomes, Names{"42: popup failed " + code + " " + text});
    EXPECT_EQ(std::count(stage.delegates->notes.begin(), stage.delegates->notes.end(), "campaignDidStart"), 0);
  }

  testing::PopupStage stage;
  KLCustomResolver resolver{stage.surroundings};
};

TEST_F(KLCustomResolverTest, HandsTheCampaignOverAndEndsIt) {
  reach();
  EXPECT_EQ(stage.delegates->notes, (Names{"campaignShouldStart", "campaignDidStart"}));
  EXPECT_EQ(stage.events(), Names{"$PlanPopupDisplay"});
  EXPECT_EQ(*stage.downloads.host.nimbra->tracked()[0].properties.find("$kl_succeed"), KLValue(1));
  EXPECT_EQ(stage.notifications, Names{kCampaignDidEndNotification});
  EXPECT_EQ(stage.outcomes, Names{"42: popup handed over"});
}

TEST_F(KLCustomResolverTest, APlanThatIsGoneOrNoTriggerPlanFails) {
  stage.plan->isTrigger = false;
  reach();
  expectFailure("1005", "计划下发 is_Trigger 为 false");
  resolver.reachCampaign(std::make_shared<KLCampaign>("7", "gone", "UUID", KLValue()));
  stage.settle();
  EXPECT_EQ(stage.notifications.size(), 2u);
}

TEST_F(KLCustomResolverTest, TheApplicationMayRefuse) {
  stage.delegates->shouldStart = false;
  reach();
  expectFailure("1004", "campaignShouldStart 接口返回 false");
}

TEST_F(KLCustomResolverTest, WithoutTheCallbackItFailsEvenWithContent) {
  stage.delegates->implementsDidStart = false;
  reach();
  expectFailure("1006", "自定义触达计划未实现弹窗生命周期回调");
  stage.options->setCampaignDelegate({});
  reach();
  EXPECT_EQ(stage.notifications.size(), 2u);
}

TEST_F(KLCustomResolverTest, WithoutContentItFails) {
  stage.plan->popupWindowContent = KLValue(KLObject{});
  reach();
  expectFailure("1001", "获取自定义触达内容为空");
}

TEST_F(KLCustomResolverTest, ATestCampaignSkipsTheRulesAndPostsNothing) {
  stage.delegates->shouldStart = false;
  reachTest("content");
  EXPECT_EQ(stage.delegates->notes, Names{"campaignDidStart"});
  reachTest("");
  EXPECT_EQ(stage.delegates->notes.back(), "campaignFailed 1001");
  EXPECT_TRUE(stage.notifications.empty());
  EXPECT_EQ(stage.events().size(), 2u);
}

/// A queue that accepts tasks and never runs them: a main thread that is stuck.
class StuckQueue final : public KLQueue {
 public:
  void async(Task task) override {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    posted_.notify_all();
  }
  void asyncAfter(double, Task task) override { async(std::move(task)); }
  bool isCurrent() const override { return false; }
  void sync(const Task&) override {}
  const std::string& label() const override { return label_; }

  void waitForTask() {
    std::unique_lock lock(mutex_);
    posted_.wait(lock, [this] { return !tasks_.empty(); });
  }

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::vector<Task> tasks_;  ///< guarded by mutex_
  std::string label_ = "stuck";
};

TEST_F(KLCustomResolverTest, AMainThreadThatIsStuckCountsAsARefusal) {
  StuckQueue stuck;
  KLCustomResolver held(stage.surroundingsOn(stage.threading, stuck));
  held.reachCampaign(stage.campaign());
  stage.threading.run();
  EXPECT_EQ(stage.notifications, Names{kCampaignDidFailedNotification});
  EXPECT_TRUE(stage.downloads.host.log->contains("The application did not answer within 10 seconds, which counts as a refusal"));
}

TEST_F(KLCustomResolverTest, TheEndLetsGoOfWhoWaitsForAnAnswer) {
  KLThreadThreading threads;
  StuckQueue stuck;
  {
    KLCustomResolver held(stage.surroundingsOn(threads, stuck));
    held.reachCampaign(stage.campaign());
    stuck.waitForTask();
  }
  EXPECT_TRUE(stage.notifications.empty());
  EXPECT_TRUE(stage.downloads.host.log->messages(1).empty()) << "nobody waited the whole time";
  EXPECT_TRUE(stage.events().empty()) << "the end of the library is no failure of the campaign";
}

}  // namespace
}  // namespace kaleo
