#include "window/Watch.h"

#include <QKeyEvent>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

namespace kaleo::bench {
namespace {

constexpr QSize kPixels{1080, 1920};
constexpr const char* kPopupName = "KaleoPopup";
constexpr double kPatienceSeconds = 60;

}  // namespace

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double processorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void WatchedApplication::watch(const QWidget& window) {
  window_ = &window;
  current_ = {};
  frames_.clear();
}

bool WatchedApplication::notify(QObject* receiver, QEvent* event) {
  const QEvent::Type type = event->type();  // the event may be gone afterwards
  if (type == QEvent::Paint && receiver->objectName() == QLatin1String(kPopupName)) popupPaints_ = true;
  if (depth_ > 0) return QApplication::notify(receiver, event);
  ++depth_;
  const double processor = processorTime();
  const double wall = now();
  const bool taken = QApplication::notify(receiver, event);
  current_.processor += processorTime() - processor;
  current_.wall += now() - wall;
  --depth_;
  if (type == QEvent::UpdateRequest && receiver == window_) frameDone();
  return taken;
}

void WatchedApplication::frameDone() {
  current_.end = now();
  frames_.push_back(current_);
  if (std::exchange(popupPaints_, false) && popupPainted_ == 0) popupPainted_ = current_.end;
  current_ = {};
}

WatchedApplication& application() { return *static_cast<WatchedApplication*>(QCoreApplication::instance()); }

bool runUntil(const std::function<bool()>& condition) {
  const double limit = now() + kPatienceSeconds;
  while (!condition()) {
    if (now() > limit) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
  }
  return true;
}

void runFor(double seconds) {
  const double end = now() + seconds;
  runUntil([end] { return now() >= end; });
}

HostWindow::HostWindow() {
  QPalette palette;
  palette.setColor(QPalette::Window, QColor(250, 246, 241));
  setPalette(palette);
  const double ratio = devicePixelRatioF();
  resize(static_cast<int>(std::lround(kPixels.width() / ratio)), static_cast<int>(std::lround(kPixels.height() / ratio)));
  move(0, 0);
  show();
  setFocusPolicy(Qt::StrongFocus);
  setFocus();
  activateWindow();
  runUntil([this] { return isActiveWindow(); });
}

QWidget* HostWindow::popup() const { return findChild<QWidget*>(kPopupName); }

void HostWindow::pressEscape() const {
  QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
  if (QWidget* shown = popup()) QCoreApplication::sendEvent(shown, &escape);
}

double quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(std::lround(part * static_cast<double>(values.size() - 1)))];
}

}  // namespace kaleo::bench
