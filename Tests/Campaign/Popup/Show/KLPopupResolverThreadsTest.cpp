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
  std::shared_ptr<KLQueue> mainQueue = threads.makeSerialQueue("test.main");
  std::shared_ptr<KLHeadlessWindowFactory> windows = std::make_shared<KLHeadlessWindowFactory>(mainQueue, stage.screen);
  std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
  KLCampaignSurroundings surroundings{threads,
                                      *mainQueue,
                                      stage.downloads.center,
                                      stage.bridge,
                                      stage.downloads.log,
                                      stage.surroundings.options,
                                      stage.surroundings.planWithIdentifier};
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
