#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Qt/RunUntil.h"
#include "kaleo-qt/KLQtPlatform.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// Writes down what a window tells, and does in each call what a test asks for.
class RecordingObserver final : public KLPopupWindowObserver {
 public:
  std::vector<std::string> calls;
  KLSize bounds;
  KLPoint point;
  double scrolled = 0;
  double time = 0;
  std::vector<KLKey> keys;
  KLView* touched = nullptr;  ///< by assistive technology
  std::function<void(const std::string& call)> onCall;

  void windowDidLayout(KLSize size, double) override {
    bounds = size;
    tell("layout");
  }
  void windowPointer(KLPointerPhase phase, KLPoint at) override {
    static constexpr const char* kNames[] = {"down", "move", "up", "cancel"};
    point = at;
    tell(kNames[static_cast<int>(phase)]);
  }
  void windowScroll(KLPoint at, double deltaY) override {
    point = at;
    scrolled += deltaY;
    tell("scroll");
  }
  void windowKey(KLKey key) override {
    keys.push_back(key);
    tell("key");
  }
  void windowPress(KLView& view) override {
    touched = &view;
    tell("press");
  }
  void windowFocus(KLView& view) override {
    touched = &view;
    tell("focus");
  }
  void windowFrame(double now) override {
    time = now;
    tell("frame");
  }
  void windowLost() override { tell("lost"); }

  bool heard(const std::string& call) const { return std::find(calls.begin(), calls.end(), call) != calls.end(); }

 private:
  void tell(const std::string& call) {
    calls.push_back(call);
    if (onCall) onCall(call);
  }
};

/// An application's window with a popup window for it.
class QtStage : public testing::Test {
 protected:
  static constexpr KLColor kWhite{1, 1, 1, 1}, kRed{1, 0, 0, 1}, kGreen{0, 1, 0, 1}, kBlue{0, 0, 1, 1}, kBlack{0, 0, 0, 1};

  QtStage() : host(std::make_unique<QWidget>()) {
    platform.notificationCenter = std::make_shared<KLNotificationCenter>();
    installQtPresentation(platform);
    host->resize(400, 300);
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    host->setPalette(palette);
    root.frame = {0, 0, 400, 300};
  }
  ~QtStage() override {
    window.reset();
    drain();
  }

  void showHost() {
    host->show();
    host->activateWindow();
    ASSERT_TRUE(runUntil([this] { return host->isActiveWindow(); }));
  }
  void showPopup() {
    window = platform.presentation.windows->makeWindow();
    window->show(root, observer);
  }
  void showAll() {
    showHost();
    showPopup();
  }
  static void drain() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  KLView& add(KLView& parent, KLView::Kind kind, KLRect frame) {
    KLView& view = parent.addSubview(std::make_unique<KLView>(kind));
    view.frame = frame;
    return view;
  }
  KLView& add(KLView::Kind kind, KLRect frame) { return add(root, kind, frame); }

  /// The host window with the popup over it, as it looks now.
  QImage picture() {
    if (window) window->setNeedsDisplay();
    return host->grab().toImage().convertToFormat(QImage::Format_ARGB32);
  }
  /// The pixel that holds the point.
  static QColor at(const QImage& image, double x, double y) {
    return image.pixelColor(int(x * image.devicePixelRatio()), int(y * image.devicePixelRatio()));
  }

  KLPlatform platform;
  std::unique_ptr<QWidget> host;
  KLView root{KLView::Kind::Mask};
  RecordingObserver observer;
  std::unique_ptr<KLPopupWindow> window;
};

}  // namespace kaleo
