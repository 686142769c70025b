#include "Platform/Headless/KLHeadlessWindow.h"

#include <gtest/gtest.h>

#include "Support/ManualThreading.h"
#include "kaleo/KLView.h"

namespace kaleo {
namespace {

struct Observer : KLPopupWindowObserver {
  void windowDidLayout(KLSize bounds, double safeAreaTop) override {
    size = bounds;
    safe = safeAreaTop;
  }
  void windowPointer(KLPointerPhase phase, KLPoint) override {
    phases.push_back(phase);
    if (closeOn == phase) window.reset();
  }
  void windowScroll(KLPoint, double deltaY) override { scrolled += deltaY; }
  void windowKey(KLKey key) override { keys.push_back(key); }
  void windowPress(KLView&) override {}
  void windowFocus(KLView&) override {}
  void windowFrame(double time) override {
    times.push_back(time);
    if (times.size() < 3) window->requestFrame();
  }
  void windowLost() override { window.reset(); }

  std::unique_ptr<KLPopupWindow> window;
  KLSize size;
  double safe = -1, scrolled = 0;
  std::vector<KLPointerPhase> phases;
  std::optional<KLPointerPhase> closeOn;
  std::vector<KLKey> keys;
  std::vector<double> times;
};

class KLHeadlessWindowTest : public ::testing::Test {
 protected:
  void show() {
    observer.window = factory.makeWindow();
    observer.window->show(root, observer);
  }

  testing::ManualThreading threading;
  KLHeadlessWindowFactory factory{threading.mainQueue(), std::make_shared<KLHeadlessScreen>()};
  KLView root{KLView::Kind::Mask};
  Observer observer;
};

TEST_F(KLHeadlessWindowTest, LaysOutWhenShownAndHandsOnWhatTheUserDoes) {
  factory.setSafeAreaTop(44);
  EXPECT_EQ(factory.windowOnScreen(), nullptr);
  show();
  KLHeadlessWindow* window = factory.windowOnScreen();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->root(), &root);
  EXPECT_EQ(observer.size, (KLSize{375, 812}));
  EXPECT_EQ(observer.safe, 44);
  EXPECT_EQ(root.frame, (KLRect{0, 0, 375, 812}));
  window->tap({1, 1});
  window->scroll({1, 1}, 5);
  window->key(KLKey::Tab);
  EXPECT_EQ(observer.phases, (std::vector{KLPointerPhase::Down, KLPointerPhase::Up}));
  EXPECT_EQ(observer.scrolled, 5);
  EXPECT_EQ(observer.keys, std::vector{KLKey::Tab});
}

TEST_F(KLHeadlessWindowTest, FramesComeASixtiethApartOnASteadyClock) {
  show();
  observer.window->requestFrame();
  observer.window->requestFrame();
  threading.advance(0.5 / 60);
  EXPECT_TRUE(observer.times.empty());
  threading.advance(1);
  EXPECT_EQ(observer.times, (std::vector{1.0 / 60, 2.0 / 60, 3.0 / 60}));
}

TEST_F(KLHeadlessWindowTest, NothingComesAfterTheWindowIsHiddenOrGone) {
  show();
  observer.window->requestFrame();
  observer.window->hide();
  threading.advance(1);
  EXPECT_TRUE(observer.times.empty());
  EXPECT_EQ(factory.windowsOnScreen(), 0u);

  show();
  observer.closeOn = KLPointerPhase::Down;
  factory.windowOnScreen()->tap({1, 1});
  EXPECT_EQ(observer.phases, std::vector{KLPointerPhase::Down});
  show();
  observer.window->requestFrame();
  factory.windowOnScreen()->lose();
  threading.advance(1);
  EXPECT_TRUE(observer.times.empty());
  EXPECT_EQ(factory.windowOnScreen(), nullptr);
}

}  // namespace
}  // namespace kaleo
