#include "KLQtPopupWindow.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "KLQtPainter.h"
#include "kaleo/KLView.h"

namespace kaleo {
namespace {

constexpr double kFrameSeconds = 1.0 / 60;
constexpr double kPointsPerWheelStep = 40;
constexpr double kAngleOfWheelStep = 120;  ///< in eighths of a degree

std::optional<KLKey> keyOf(int key) {
  switch (key) {
    case Qt::Key_Tab:
      return KLKey::Tab;
    case Qt::Key_Backtab:
      return KLKey::BackTab;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
      return KLKey::Activate;
    case Qt::Key_Escape:
    case Qt::Key_Back:
      return KLKey::Escape;
    case Qt::Key_Up:
      return KLKey::Up;
    case Qt::Key_Down:
      return KLKey::Down;
    case Qt::Key_PageUp:
      return KLKey::PageUp;
    case Qt::Key_PageDown:
      return KLKey::PageDown;
    default:
      return std::nullopt;
  }
}

KLPoint pointOf(const QMouseEvent& event) { return {event.position().x(), event.position().y()}; }

}  // namespace

QWidget* KLQtActiveWindow() {
  const auto usable = [](QWidget* widget) {
    return widget && widget->isWindow() && widget->isVisible() &&
           (widget->windowType() == Qt::Window || widget->windowType() == Qt::Dialog);
  };
  if (QWidget* const active = QApplication::activeWindow(); usable(active)) return active;
  const auto windows = QApplication::topLevelWidgets();
  const auto found = std::find_if(windows.begin(), windows.end(), usable);
  return found == windows.end() ? nullptr : *found;
}

KLQtOverlay::KLQtOverlay(QWidget* host, KLView& root, KLPopupWindowObserver& observer)
    : QWidget(host, host ? Qt::Widget : Qt::FramelessWindowHint | Qt::Tool), host_(host), root_(root), observer_(&observer) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::ArrowCursor);
  if (!host) setAttribute(Qt::WA_TranslucentBackground);
  frameTimer_.setSingleShot(true);
  frameTimer_.setTimerType(Qt::PreciseTimer);
  connect(&frameTimer_, &QTimer::timeout, this, &KLQtOverlay::frame);
  clock_.start();
}

KLQtOverlay::~KLQtOverlay() { lose(); }

void KLQtOverlay::lose() {
  if (KLPopupWindowObserver* const observer = std::exchange(observer_, nullptr)) observer->windowLost();
}

void KLQtOverlay::close() {
  observer_ = nullptr;
  frameTimer_.stop();
  qApp->disconnect(this);
  if (host_) host_->removeEventFilter(this);
  const bool hadFocus = hasFocus();
  hide();
  if (hadFocus && focusBefore_) focusBefore_->setFocus(Qt::OtherFocusReason);
  deleteLater();
}

void KLQtOverlay::open() {
  if (host_) {
    host_->installEventFilter(this);
    setGeometry(host_->rect());
    focusBefore_ = host_->focusWidget();
  } else if (const QScreen* const screen = QGuiApplication::primaryScreen()) {
    setGeometry(screen->availableGeometry());
  }
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { keepFocus(now); });
  layOut();
  if (!observer_) return;
  raise();
  show();
  setFocus(Qt::PopupFocusReason);
}

void KLQtOverlay::keepFocus(QWidget* now) {
  if (now && now != this && host_ && host_->isAncestorOf(now)) setFocus(Qt::PopupFocusReason);
}

void KLQtOverlay::layOut() {
  if (!observer_) return;
  observer_->windowDidLayout({static_cast<double>(width()), static_cast<double>(height())}, 0);
  update();
}

void KLQtOverlay::requestFrame() {
  if (frameTimer_.isActive()) return;
  const double next = lastFrame_ + kFrameSeconds;
  const double now = static_cast<double>(clock_.nsecsElapsed()) * 1e-9;
  frameTimer_.start(static_cast<int>(std::ceil(std::max(next - now, 0.0) * 1000)));
}

void KLQtOverlay::frame() {
  lastFrame_ = static_cast<double>(clock_.nsecsElapsed()) * 1e-9;
  if (observer_) observer_->windowFrame(lastFrame_);
}

bool KLQtOverlay::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::ShortcutOverride:  // no shortcut of the application's acts while the popup is shown
      event->accept();
      return true;
    case QEvent::ContextMenu:
    case QEvent::ToolTip:
    case QEvent::WhatsThis:
      event->accept();
      return true;
    default:
      return QWidget::event(event);
  }
}

bool KLQtOverlay::eventFilter(QObject* watched, QEvent* event) {
  if (watched != host_) return false;
  switch (event->type()) {
    case QEvent::Resize:
      setGeometry(host_->rect());
      break;
    case QEvent::ChildAdded:
      QMetaObject::invokeMethod(this, &QWidget::raise, Qt::QueuedConnection);
      break;
    case QEvent::Close:
      // The application may refuse to close; the window is lost only once it has gone.
      QMetaObject::invokeMethod(this, &KLQtOverlay::hostClosed, Qt::QueuedConnection);
      break;
    default:
      break;
  }
  return false;
}

void KLQtOverlay::hostClosed() {
  if (!host_ || !host_->isVisible()) lose();
}

void KLQtOverlay::paintEvent(QPaintEvent*) {
  if (!observer_) return;
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
  KLQtPainter(painter, images_).draw(root_);
}

void KLQtOverlay::resizeEvent(QResizeEvent*) {
  if (isVisible()) layOut();
}

void KLQtOverlay::mousePressEvent(QMouseEvent* event) {
  event->accept();
  if (observer_ && (event->button() == Qt::LeftButton)) observer_->windowPointer(KLPointerPhase::Down, pointOf(*event));
}

void KLQtOverlay::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  if (observer_ && (event->buttons() & Qt::LeftButton)) observer_->windowPointer(KLPointerPhase::Move, pointOf(*event));
}

void KLQtOverlay::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  if (observer_ && (event->button() == Qt::LeftButton)) observer_->windowPointer(KLPointerPhase::Up, pointOf(*event));
}

void KLQtOverlay::wheelEvent(QWheelEvent* event) {
  event->accept();
  const double exact = event->pixelDelta().y();
  const double delta = exact != 0 ? exact : event->angleDelta().y() / kAngleOfWheelStep * kPointsPerWheelStep;
  const QPointF at = event->position();
  if (observer_ && (delta != 0)) observer_->windowScroll({at.x(), at.y()}, -delta);
}

void KLQtOverlay::keyPressEvent(QKeyEvent* event) {
  event->accept();
  const auto key = keyOf(event->key());
  if (observer_ && key) observer_->windowKey(*key);
}

void KLQtOverlay::keyReleaseEvent(QKeyEvent* event) { event->accept(); }

void KLQtPopupWindow::show(KLView& root, KLPopupWindowObserver& observer) {
  hide();
  overlay_ = new KLQtOverlay(KLQtActiveWindow(), root, observer);
  overlay_->open();
}

void KLQtPopupWindow::hide() {
  if (const QPointer<KLQtOverlay> overlay = std::exchange(overlay_, nullptr)) overlay->close();
}

void KLQtPopupWindow::requestFrame() {
  if (overlay_) overlay_->requestFrame();
}

void KLQtPopupWindow::setNeedsDisplay() {
  if (overlay_) overlay_->update();
}

}  // namespace kaleo
