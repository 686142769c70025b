#include "KLQtOverlay.h"

#include <QApplication>
#include <QChildEvent>
#include <QDragEnterEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QScreen>
#include <QTouchEvent>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "KLQtAccessiblePopup.h"
#include "KLQtInput.h"

namespace kaleo {
namespace {

constexpr double kUsualFramesASecond = 60;
constexpr double kFewestFramesASecond = 30;
constexpr double kMostFramesASecond = 120;
/// Menus open inside menus; more than this are not closed.
constexpr int kMostOpenMenus = 16;

KLPoint pointOf(QPointF position) { return {position.x(), position.y()}; }

double frameClock() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double frameInterval(const QScreen* screen) {
  const double rate = screen ? screen->refreshRate() : kUsualFramesASecond;
  return 1 / std::clamp(rate, kFewestFramesASecond, kMostFramesASecond);
}

/// Until the next beat of the frame clock, so that frames do not drift by what each of them takes to draw.
std::chrono::milliseconds untilNextFrame(double interval) {
  const double now = frameClock();
  const double next = (std::floor(now / interval) + 1) * interval;
  return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(next - now));
}

bool hasNativeChildren(const QWidget& window) {
  const QList<QWidget*> all = window.findChildren<QWidget*>();
  return std::any_of(all.begin(), all.end(),
                     [](const QWidget* child) { return !child->isWindow() && child->internalWinId() != 0; });
}

void closeOpenMenus() {
  for (int i = 0; i < kMostOpenMenus && QApplication::activePopupWidget(); ++i) QApplication::activePopupWidget()->close();
}

bool takesTaps(const KLView& view) {
  return view.userInteractionEnabled && view.kind() != KLView::Kind::Mask && view.kind() != KLView::Kind::TextView;
}

/// Events that Qt would hand on to the widgets below when they are not taken here.
bool isTakenWhole(QEvent::Type type) {
  switch (type) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyRelease:
    case QEvent::ContextMenu:
    case QEvent::ToolTip:
    case QEvent::StatusTip:
    case QEvent::WhatsThis:
    case QEvent::QueryWhatsThis:
    case QEvent::Gesture:
    case QEvent::GestureOverride:
    case QEvent::NativeGesture:
      return true;
    default:
      return false;
  }
}

}  // namespace

KLQtOverlay::KLQtOverlay(QWidget& window, std::shared_ptr<KLQtPainter> painter)
    : QWidget(&window), window_(window), scene_(std::move(painter)) {
  setObjectName(QStringLiteral("KaleoPopup"));
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setCursor(Qt::ArrowCursor);
  setAcceptDrops(true);  // to refuse them: those that a widget does not want at all go to the one below
  setAttribute(Qt::WA_AcceptTouchEvents);
  setAttribute(Qt::WA_NoMousePropagation);
  setAttribute(Qt::WA_StyledBackground, false);
  setContextMenuPolicy(Qt::PreventContextMenu);
  if (hasNativeChildren(window)) {
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
  }
  accessible_ = KLQtAccessiblePopup::attach(*this);
  frameTimer_.setSingleShot(true);
  frameTimer_.setTimerType(Qt::PreciseTimer);
  connect(&frameTimer_, &QTimer::timeout, this, [this] {
    if (observer_) observer_->windowFrame(frameClock());
  });
}

KLQtOverlay::~KLQtOverlay() { KLQtAccessiblePopup::detach(accessible_); }

void KLQtOverlay::present(KLView& root, KLPopupWindowObserver& observer, std::function<void()> lost) {
  closeOpenMenus();
  setGeometry(window_.rect());
  window_.installEventFilter(this);
  raise();
  show();
  takeFocus();
  root_ = &root;
  observer_ = &observer;
  lost_ = std::move(lost);
  layOut();
  if (observer_) KLQtAccessiblePopup::tellShown(*this);
}

void KLQtOverlay::dismiss() {
  if (!observer_) return;
  KLQtAccessiblePopup::tellHiding(*this);
  observer_ = nullptr;
  root_ = nullptr;
  lost_ = nullptr;
  frameTimer_.stop();
  window_.removeEventFilter(this);
  disconnect(qApp, nullptr, this, nullptr);
  giveFocusBack();
  hide();
  deleteLater();
}

void KLQtOverlay::takeFocus() {
  previousFocus_ = window_.focusWidget();
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { focusMoved(now); });
  setFocus(Qt::OtherFocusReason);
}

void KLQtOverlay::focusMoved(QWidget* now) {
  if (!now || now == this || now->window() != &window_) return;
  if (dynamic_cast<KLQtOverlay*>(now)) return;  // a popup above this one
  previousFocus_ = now;
  setFocus(Qt::OtherFocusReason);
}

void KLQtOverlay::giveFocusBack() {
  for (QObject* child : window_.children()) {
    auto* above = dynamic_cast<KLQtOverlay*>(child);
    if (above && above->previousFocus_ == this) above->previousFocus_ = previousFocus_;
  }
  if (window_.focusWidget() != this) return;
  clearFocus();
  if (previousFocus_ && previousFocus_->window() == &window_) previousFocus_->setFocus(Qt::OtherFocusReason);
}

void KLQtOverlay::requestFrame() {
  if (!frameTimer_.isActive()) frameTimer_.start(untilNextFrame(frameInterval(screen())));
}

void KLQtOverlay::setNeedsDisplay() {
  scene_.invalidate();
  update();
  if (root_) KLQtAccessiblePopup::tellFocus(*this);
}

void KLQtOverlay::pressFor(KLView& view) {
  if (observer_) observer_->windowPress(view);
}

void KLQtOverlay::focusFor(KLView& view) {
  if (!observer_) return;
  setFocus(Qt::OtherFocusReason);
  observer_->windowFocus(view);
}

void KLQtOverlay::scrollFor(KLView& view, double pages) {
  const KLRect frame = view.frameInRoot();
  const KLPoint centre{frame.x + frame.width / 2, frame.y + frame.height / 2};
  if (observer_) observer_->windowScroll(centre, pages * frame.height);
}

void KLQtOverlay::layOut() {
  if (!observer_ || size() == laidOutSize_) return;
  laidOutSize_ = size();
  setNeedsDisplay();
  observer_->windowDidLayout({double(width()), double(height())}, 0);
}

void KLQtOverlay::paintEvent(QPaintEvent*) {
  if (!root_) return;
  QPainter painter(this);
  scene_.draw(painter, *root_, size(), devicePixelRatioF(), palette().color(QPalette::Active, QPalette::Highlight));
}

void KLQtOverlay::resizeEvent(QResizeEvent*) { layOut(); }

bool KLQtOverlay::eventFilter(QObject* object, QEvent* event) {
  if (object != &window_ || !observer_) return false;
  switch (event->type()) {
    case QEvent::Resize:
      setGeometry(window_.rect());
      break;
    case QEvent::ChildPolished:
      if (!dynamic_cast<KLQtOverlay*>(static_cast<QChildEvent*>(event)->child())) raise();
      break;
    case QEvent::Hide:
      if (!event->spontaneous() && lost_) lost_();  // a minimised window's hiding is the system's, and spontaneous
      break;
    case QEvent::WindowDeactivate:
      pointer(KLPointerPhase::Cancel, {});
      break;
    default:
      break;
  }
  return false;
}

bool KLQtOverlay::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
      touch(*static_cast<QTouchEvent*>(event));
      event->accept();
      return true;
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
      event->ignore();
      return true;
    default:
      break;
  }
  if (!isTakenWhole(event->type())) return QWidget::event(event);
  event->accept();
  return true;
}

// The popup moves its own focus; Qt's would leave it.
bool KLQtOverlay::focusNextPrevChild(bool) { return false; }

void KLQtOverlay::pointer(KLPointerPhase phase, QPointF position) {
  if (!observer_ || (phase != KLPointerPhase::Down && !pressed_)) return;
  pressed_ = phase == KLPointerPhase::Down || phase == KLPointerPhase::Move;
  observer_->windowPointer(phase, pointOf(position));
}

void KLQtOverlay::touch(const QTouchEvent& event) {
  if (event.points().isEmpty()) return;
  const QPointF position = event.points().constFirst().position();
  switch (event.type()) {
    case QEvent::TouchBegin:
      return pointer(KLPointerPhase::Down, position);
    case QEvent::TouchUpdate:
      return pointer(KLPointerPhase::Move, position);
    case QEvent::TouchEnd:
      return pointer(KLPointerPhase::Up, position);
    default:
      return pointer(KLPointerPhase::Cancel, position);
  }
}

void KLQtOverlay::showCursorFor(QPointF position) {
  const KLView* hit = root_ ? root_->hitTest(pointOf(position)) : nullptr;
  const Qt::CursorShape shape = hit && takesTaps(*hit) ? Qt::PointingHandCursor : Qt::ArrowCursor;
  if (cursor().shape() != shape) setCursor(shape);
}

void KLQtOverlay::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) pointer(KLPointerPhase::Down, event->position());
}

void KLQtOverlay::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

void KLQtOverlay::mouseMoveEvent(QMouseEvent* event) {
  showCursorFor(event->position());
  pointer(KLPointerPhase::Move, event->position());
}

void KLQtOverlay::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) pointer(KLPointerPhase::Up, event->position());
}

void KLQtOverlay::wheelEvent(QWheelEvent* event) {
  event->accept();
  if (observer_) observer_->windowScroll(pointOf(event->position()), qt::scrollOf(*event));
}

void KLQtOverlay::keyPressEvent(QKeyEvent* event) {
  event->accept();
  const auto key = qt::keyOf(*event);
  if (key && observer_) observer_->windowKey(*key);
}

}  // namespace kaleo
