// The resolver on real threads: campaigns come from several at once, and the library ends at any moment.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Campaign/Popup/Show/KLCustomResolver.h"
#include "Campaign/Popup/Show/KLPopupResolver.h"
#include "Foundation/KLThreads.h"
#include "Support/PopupStage.h"

namespace kaleo {
namespace {

constexpr const char* kLayout =
    R"({"template": {"type": "label", "layout": {"width": "100"}, "properties": {"font": "10", "text": "Hello"}}})";

/// A delegate that counts, and closes nothing.
struct CountingDelegate : KLCampaignDelegate {
  bool campaignShouldStart(const KLCampaign&) override { return ++asked, true; }
  void campaignDidStart(const KLCampaign&) override { ++started; }
  std::atomic<int> asked = 0, started = 0;
};

/// A main queue that takes no more tasks once its application has quit.
class QuittingQueue final : public KLQueue {
 public:
  explicit QuittingQueue(std::shared_ptr<KLQueue> queue) : queue_(std::move(queue)) {}
  void quit() { hasQuit_ = true; }
  void async(Task task) override {
    if (!hasQuit_) queue_->async(std::move(task));
  }
  void asyncAfter(double seconds, Task task) override {
    if (!hasQuit_) queue_->asyncAfter(seconds, std::move(task));
  }
  bool isCurrent() const override { return queue_->isCurrent(); }
  void sync(const Task& task) override { queue_->sync(task); }
  const std::string& label() const override { return queue_->label(); }

 private:
  const std::shared_ptr<KLQueue> queue_;
  std::atomic<bool> hasQuit_ = false;
};

class KLPopupResolverThreadsTest : public ::testing::Test {
 protected:
  KLPopupResolverThreadsTest() {
    stage.setContent(kLayout);
    stage.options->setPopupDelegate({});
    stage.options->setCampaignDelegate(delegate);
  }
  KLPresentation presentation() { return {stage.screen, std::make_shared<KLFixedTextMeasurer>(), stage.pasteboard, windows}; }
  std::unique_ptr<KLPopupResolver> makeResolver() {
    return std::make_unique<KLPopupResolver>(surroundings, presentation(), stage.downloads.downloader,
                                             stage.downloads.directory.path());
  }
  std::size_t windowsOnScreen() {
    std::size_t count = 0;
    mainQueue->sync([&] { count = windows->windowsOnScreen(); });
    return count;
  }

  testing::PopupStage stage;
  KLThreadThreading threads;
  std::shared_ptr<QuittingQueue> mainQueue = std::make_shared<QuittingQueue>(threads.makeSerialQueue("test.main"));
  std::shared_ptr<KLHeadlessWindowFactory> windows = std::make_shared<KLHeadlessWindowFactory>(mainQueue, stage.screen);
  std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
  KLCampaignSurroundings surroundings = stage.surroundingsOn(threads, *mainQueue);
};

TEST_F(KLPopupResolverThreadsTest, OneOfManyCampaignsShowsAndTheEndTakesItDown) {
  auto resolver = makeResolver();
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] { resolver->reachCampaign(stage.campaign()); });
  }
  for (auto& caller : callers) caller.join();
  while (windowsOnScreen() == 0) std::this_thread::yield();
  EXPECT_EQ(windowsOnScreen(), 1u);
  EXPECT_EQ(delegate->asked, 1);
  resolver.reset();
  EXPECT_EQ(windowsOnScreen(), 0u);
}

TEST_F(KLPopupResolverThreadsTest, TheEndAfterTheMainQueueHasEndedLeavesNoPopup) {
  auto resolver = makeResolver();
  resolver->reachCampaign(stage.campaign());
  while (windowsOnScreen() == 0) std::this_thread::yield();
  mainQueue->quit();
  resolver.reset();
  EXPECT_EQ(windowsOnScreen(), 0u);
}

TEST_F(KLPopupResolverThreadsTest, TheEndMayComeAtAnyMoment) {
  for (int round = 0; round < 60; ++round) {
    auto resolver = makeResolver();
    auto custom = std::make_unique<KLCustomResolver>(surroundings);
    resolver->reachCampaign(stage.campaign());
    custom->reachCampaign(stage.campaign());
    if (round % 3 == 1) windowsOnScreen();
    if (round % 3 == 2) {
      while (delegate->asked == 0) std::this_thread::yield();
    }
    std::thread late([&] { mainQueue->async([] {}); });
    resolver.reset();
    custom.reset();
    late.join();
    EXPECT_EQ(windowsOnScreen(), 0u);
    delegate->asked = 0;
  }
}

}  // namespace
}  // namespace kaleo
