#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>
#include <thread>

#include "QtStage.h"

namespace kaleo {
namespace {

class KLQtPopupWindowTest : public QtStage {
 protected:
  void press(QPoint point) { QTest::mousePress(host->windowHandle(), Qt::LeftButton, {}, point); }
  void move(QPoint point) { QTest::mouseMove(host->windowHandle(), point); }
  void release(QPoint point) { QTest::mouseRelease(host->windowHandle(), Qt::LeftButton, {}, point); }
  void key(Qt::Key code, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(host->windowHandle(), code, modifiers); }
  void wheel(QPoint point, int angle) {
    QWheelEvent event(point, host->mapToGlobal(point), {}, {0, angle}, {}, {}, Qt::NoScrollPhase, false);
    QWidget* target = host->childAt(point);
    QApplication::sendEvent(target ? target : host.get(), &event);
  }
};

TEST_F(KLQtPopupWindowTest, TellsTheLayoutInsideShowAndAtEveryResize) {
  showAll();
  EXPECT_EQ(observer.calls, std::vector<std::string>{"layout"});
  EXPECT_EQ(observer.bounds, (KLSize{400, 300}));
  root.backgroundColor = kGreen;
  host->resize(500, 350);
  ASSERT_TRUE(runUntil([&] { return observer.bounds == KLSize{500, 350}; }));
  EXPECT_EQ(observer.calls.size(), 2u);
  root.frame = {0, 0, 500, 350};
  EXPECT_EQ(at(picture(), 498, 348), QColor(Qt::green));
}

TEST_F(KLQtPopupWindowTest, TellsThePointerInPoints) {
  showAll();
  observer.calls.clear();
  move({10, 10});
  press({30, 40});
  EXPECT_EQ(observer.point, (KLPoint{30, 40}));
  move({60, 70});
  EXPECT_EQ(observer.point, (KLPoint{60, 70}));
  release({60, 70});
  move({5, 5});
  QTest::mouseClick(host->windowHandle(), Qt::RightButton, {}, {30, 40});
  EXPECT_EQ(observer.calls, (std::vector<std::string>{"down", "move", "up"}));
}

TEST_F(KLQtPopupWindowTest, CancelsAPressWhenTheWindowLosesTheUser) {
  showAll();
  press({30, 40});
  QWidget other;
  other.show();
  other.activateWindow();
  EXPECT_TRUE(runUntil([&] { return observer.heard("cancel"); }));
  release({30, 40});
  EXPECT_FALSE(observer.heard("up"));
}

TEST_F(KLQtPopupWindowTest, MapsKeysAndWheel) {
  showAll();
  for (const Qt::Key code : {Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape, Qt::Key_Up,
                             Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_A, Qt::Key_F1})
    key(code);
  key(Qt::Key_Tab, Qt::ShiftModifier);
  key(Qt::Key_Return, Qt::ControlModifier);
  key(Qt::Key_Escape, Qt::AltModifier);
  using K = KLKey;
  EXPECT_EQ(observer.keys, (std::vector{K::Tab, K::BackTab, K::Activate, K::Activate, K::Activate, K::Escape, K::Up, K::Down,
                                        K::PageUp, K::PageDown, K::BackTab}));
  wheel({50, 60}, -120);
  EXPECT_EQ(observer.point, (KLPoint{50, 60}));
  EXPECT_GT(observer.scrolled, 10);
  wheel({50, 60}, 240);
  EXPECT_LT(observer.scrolled, -10);
}

TEST_F(KLQtPopupWindowTest, TakesAllInputFromWhatLiesBelowAndGivesTheFocusBack) {
  QLineEdit edit(host.get());
  QCheckBox box("a box with a text", host.get());
  edit.setGeometry(10, 10, 200, 30);
  box.setGeometry(10, 100, 200, 30);
  int shortcuts = 0;
  QShortcut plain(QKeySequence(Qt::Key_Return), host.get(), [&] { ++shortcuts; });
  QAction action;
  action.setShortcut(QKeySequence("Ctrl+S"));
  host->addAction(&action);
  QObject::connect(&action, &QAction::triggered, [&] { ++shortcuts; });
  showHost();
  edit.setFocus();
  showPopup();
  EXPECT_FALSE(edit.hasFocus());
  key(Qt::Key_A);
  key(Qt::Key_Tab);
  key(Qt::Key_Return);
  key(Qt::Key_S, Qt::ControlModifier);
  QTest::mouseClick(host->windowHandle(), Qt::LeftButton, {}, {20, 115});
  EXPECT_EQ(edit.text(), "");
  EXPECT_EQ(shortcuts, 0);
  EXPECT_FALSE(box.isChecked());
  box.setFocus();  // the application moves its focus while the popup shows
  key(Qt::Key_Space);
  EXPECT_FALSE(box.isChecked());
  window->hide();
  EXPECT_TRUE(box.hasFocus());
  drain();
  key(Qt::Key_Space);
  EXPECT_TRUE(box.isChecked());
  key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(shortcuts, 1);
}

TEST_F(KLQtPopupWindowTest, LeavesNothingBehind) {
  QPushButton button(host.get());
  showHost();
  button.setFocus();
  const QImage before = picture();
  const auto children = host->children();
  for (int i = 0; i < 3; ++i) {
    showPopup();
    root.backgroundColor = kRed;
    window->requestFrame();
    EXPECT_NE(picture(), before);
    i == 1 ? window.reset() : window->hide();
    drain();
    EXPECT_EQ(host->children(), children);
    EXPECT_TRUE(button.hasFocus());
    EXPECT_EQ(picture(), before);
  }
  const std::size_t heard = observer.calls.size();
  host->resize(300, 200);
  key(Qt::Key_Escape);
  bool later = false;
  platform.mainQueue->asyncAfter(0.05, [&] { later = true; });
  ASSERT_TRUE(runUntil([&] { return later; }));
  EXPECT_EQ(observer.calls.size(), heard);
}

TEST_F(KLQtPopupWindowTest, CoversWhatIsAddedLaterAndClosesOpenMenus) {
  QMenu menu;
  menu.addAction("entry");
  showHost();
  menu.popup(host->mapToGlobal(QPoint(0, 0)));
  root.backgroundColor = kGreen;
  showPopup();
  EXPECT_FALSE(menu.isVisible());
  QPushButton late(host.get());
  late.setGeometry(0, 0, 400, 300);
  late.show();
  EXPECT_EQ(at(picture(), 200, 150), QColor(Qt::green));
}

TEST_F(KLQtPopupWindowTest, TellsOneFrameForEachRequestOnARisingClock) {
  showAll();
  double last = 0;
  int frames = 0;
  observer.onCall = [&](const std::string& call) {
    if (call != "frame") return;
    EXPECT_GT(observer.time, last);
    last = observer.time;
    if (++frames < 5) window->requestFrame();
  };
  const auto start = std::chrono::steady_clock::now();
  window->requestFrame();
  window->requestFrame();
  EXPECT_EQ(frames, 0);
  ASSERT_TRUE(runUntil([&] { return frames == 5; }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
  bool later = false;
  platform.mainQueue->asyncAfter(0.1, [&] { later = true; });
  ASSERT_TRUE(runUntil([&] { return later; }));
  EXPECT_EQ(frames, 5);
}

TEST_F(KLQtPopupWindowTest, MayGoInsideOfAnyCall) {
  showHost();
  for (const std::string moment : {"layout", "down", "key", "scroll", "frame", "lost"}) {
    SCOPED_TRACE(moment);
    observer.calls.clear();
    observer.onCall = [&](const std::string& call) {
      if (call == moment) window.reset();
    };
    window = platform.presentation.windows->makeWindow();
    window->show(root, observer);
    if (window) {
      press({5, 5});
      release({5, 5});
      key(Qt::Key_Escape);
      wheel({5, 5}, 120);
      if (window) window->requestFrame();
      if (moment == "lost") host->hide();
      EXPECT_TRUE(runUntil([&] { return !window; }));
    }
    drain();
    EXPECT_EQ(observer.calls.back(), moment);
    EXPECT_TRUE(host->children().isEmpty());
  }
}

TEST_F(KLQtPopupWindowTest, IsLostWithItsWindowAndOnlyThen) {
  showAll();
  host->showMinimized();
  drain();
  host->showNormal();
  drain();
  EXPECT_FALSE(observer.heard("lost"));
  EXPECT_TRUE(host->findChild<QWidget*>("KaleoPopup")->isVisible());
  host->close();
  EXPECT_FALSE(observer.heard("lost"));  // not in the middle of the closing
  ASSERT_TRUE(runUntil([&] { return observer.heard("lost"); }));
  observer.calls.clear();
  host = std::make_unique<QWidget>();
  host->resize(400, 300);
  showAll();
  host.reset();
  ASSERT_TRUE(runUntil([&] { return observer.heard("lost"); }));
  window->setNeedsDisplay();
  window->requestFrame();
  window->hide();
  drain();
  EXPECT_EQ(observer.calls, (std::vector<std::string>{"layout", "lost"}));
}

TEST_F(KLQtPopupWindowTest, HidesWhenTheApplicationQuitsAndMayThenGoOnAnyThread) {
  showAll();
  const auto isThere = [&] { return host->findChild<QWidget*>("KaleoPopup") != nullptr; };
  ASSERT_TRUE(isThere());
  platform.mainQueue->async([] { QCoreApplication::quit(); });
  QApplication::exec();
  drain();
  EXPECT_FALSE(isThere());
  std::thread([&] { window.reset(); }).join();
  EXPECT_EQ(observer.calls, std::vector<std::string>{"layout"});
}

TEST_F(KLQtPopupWindowTest, IsLostAtOnceWhereTheApplicationShowsNoWindow) {
  showPopup();
  EXPECT_EQ(observer.calls, std::vector<std::string>{"layout"});
  EXPECT_EQ(observer.bounds, platform.presentation.screen->size());
  ASSERT_TRUE(runUntil([&] { return observer.heard("lost"); }));
}

TEST_F(KLQtPopupWindowTest, ShowsTwoPopupsOneAboveTheOther) {
  QLineEdit edit(host.get());
  showHost();
  edit.setFocus();
  showPopup();
  RecordingObserver second;
  auto above = platform.presentation.windows->makeWindow();
  KLView secondRoot(KLView::Kind::Mask);
  above->show(secondRoot, second);
  key(Qt::Key_Escape);
  EXPECT_EQ(second.keys.size(), 1u);
  EXPECT_TRUE(observer.keys.empty());
  window->hide();
  above->hide();
  EXPECT_TRUE(edit.hasFocus());
}

TEST_F(KLQtPopupWindowTest, CoversTheModalWindowAndNotAToolWindow) {
  showHost();
  QWidget tool(host.get(), Qt::Tool);
  tool.show();
  tool.activateWindow();
  ASSERT_TRUE(runUntil([&] { return tool.isActiveWindow(); }));
  showPopup();
  EXPECT_EQ(observer.bounds, (KLSize{400, 300}));
  window.reset();
  QDialog dialog(host.get());
  dialog.resize(210, 120);
  dialog.open();
  ASSERT_TRUE(runUntil([&] { return dialog.isActiveWindow(); }));
  showPopup();
  EXPECT_EQ(observer.bounds, (KLSize{210, 120}));
}

TEST_F(KLQtPopupWindowTest, TheScreenIsTheWindowsArea) {
  const KLScreen& screen = *platform.presentation.screen;
  const QSize primary = QGuiApplication::primaryScreen()->size();
  EXPECT_EQ(screen.size(), (KLSize{double(primary.width()), double(primary.height())}));
  EXPECT_EQ(screen.scale(), QGuiApplication::primaryScreen()->devicePixelRatio());
  showHost();
  EXPECT_TRUE(runUntil([&] { return screen.size() == KLSize{400, 300}; }));
  host->resize(375, 667);
  EXPECT_TRUE(runUntil([&] { return screen.size() == KLSize{375, 667}; }));
  EXPECT_EQ(screen.scale(), host->devicePixelRatioF());
  host->hide();
  EXPECT_TRUE(runUntil([&] { return screen.size() == KLSize{double(primary.width()), double(primary.height())}; }));
}

TEST_F(KLQtPopupWindowTest, PutsTextOnTheClipboard) {
  platform.presentation.pasteboard->setString("优惠码 HELLO10");
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QString::fromUtf8("优惠码 HELLO10"));
}

TEST_F(KLQtPopupWindowTest, PostsTheApplicationsLife) {
  std::vector<std::string> posted;
  for (const char* name : {kKLApplicationDidFinishLaunchingNotification, kKLApplicationDidEnterBackgroundNotification,
                           kKLApplicationDidBecomeActiveNotification, kKLApplicationWillTerminateNotification})
    platform.notificationCenter->addObserver(name, [&posted, name](const auto&) { posted.emplace_back(name); });
  const auto settle = [this] {
    bool settled = false;
    platform.mainQueue->asyncAfter(0.02, [&] { settled = true; });
    ASSERT_TRUE(runUntil([&] { return settled; }));
  };
  settle();
  EXPECT_EQ(posted, std::vector<std::string>{kKLApplicationDidFinishLaunchingNotification});
  posted.clear();
  showHost();
  QWidget other;
  other.show();
  other.activateWindow();
  host->showMinimized();
  settle();
  EXPECT_TRUE(posted.empty()) << posted.front();
  other.showMinimized();
  settle();
  EXPECT_EQ(posted, std::vector<std::string>{kKLApplicationDidEnterBackgroundNotification});
  host->showNormal();
  settle();
  EXPECT_EQ(posted.back(), kKLApplicationDidBecomeActiveNotification);
  EXPECT_EQ(posted.size(), 2u);
  QTimer::singleShot(0, [] { QCoreApplication::quit(); });
  QApplication::exec();
  EXPECT_EQ(posted.back(), kKLApplicationWillTerminateNotification);
  EXPECT_EQ(posted.size(), 3u);
}

}  // namespace
}  // namespace kaleo
