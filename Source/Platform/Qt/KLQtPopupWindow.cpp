#include "KLQtPopupWindow.h"

#include <QCoreApplication>
#include <utility>

namespace kaleo {

KLQtPopupWindow::KLQtPopupWindow(std::shared_ptr<KLQtWindows> windows, std::shared_ptr<KLScreen> screen,
                                 std::shared_ptr<KLQtPainter> painter)
    : windows_(std::move(windows)), screen_(std::move(screen)), painter_(std::move(painter)) {}

KLQtPopupWindow::~KLQtPopupWindow() { hide(); }

void KLQtPopupWindow::show(KLView& root, KLPopupWindowObserver& observer) {
  hide();
  observer_ = &observer;
  shown_ = std::make_unique<QObject>();
  QObject::connect(qApp, &QCoreApplication::aboutToQuit, shown_.get(), [this] { hide(); });
  QWidget* window = windows_->hostWindow();
  if (!window) {
    reportLossSoon();
    return observer.windowDidLayout(screen_->size(), 0);
  }
  overlay_ = new KLQtOverlay(*window, painter_);
  QObject::connect(overlay_, &QObject::destroyed, shown_.get(), [this] { reportLossSoon(); });
  overlay_->present(root, observer, [this] { reportLossSoon(); });
}

void KLQtPopupWindow::hide() {
  shown_.reset();
  observer_ = nullptr;
  if (KLQtOverlay* overlay = std::exchange(overlay_, nullptr)) overlay->dismiss();
}

void KLQtPopupWindow::requestFrame() {
  if (overlay_) overlay_->requestFrame();
}

void KLQtPopupWindow::setNeedsDisplay() {
  if (overlay_) overlay_->setNeedsDisplay();
}

void KLQtPopupWindow::setNeedsPlacement() {
  if (overlay_) overlay_->setNeedsPlacement();
}

// Not at once: the window is in the middle of closing or of its destruction.
void KLQtPopupWindow::reportLossSoon() {
  QMetaObject::invokeMethod(
      shown_.get(),
      [this] {
        shown_.reset();
        if (KLPopupWindowObserver* observer = std::exchange(observer_, nullptr)) observer->windowLost();
      },
      Qt::QueuedConnection);
}

}  // namespace kaleo
