#include "KLQtPresentation.h"

#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QScreen>
#include <QWidget>
#include <algorithm>

#include "KLQtPopupWindow.h"
#include "KLQtTextLayout.h"

namespace kaleo {

KLQtScreen::KLQtScreen() {
  qApp->installEventFilter(this);
  refresh();
}

bool KLQtScreen::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowActivate:
    case QEvent::ScreenChangeInternal:
      if (watched->isWidgetType() && static_cast<QWidget*>(watched)->isWindow()) refresh();
      break;
    default:
      break;
  }
  return false;
}

void KLQtScreen::refresh() {
  const QWidget* const window = KLQtActiveWindow();
  const QScreen* const screen = window ? window->screen() : QGuiApplication::primaryScreen();
  QSize area(0, 0);
  if (window) {
    area = window->size();
  } else if (screen) {
    area = screen->size();
  }
  std::lock_guard lock(mutex_);
  size_ = {static_cast<double>(area.width()), static_cast<double>(area.height())};
  scale_ = window ? window->devicePixelRatioF() : screen ? screen->devicePixelRatio() : 1;
}

KLSize KLQtScreen::size() const {
  std::lock_guard lock(mutex_);
  return size_;
}

double KLQtScreen::scale() const {
  std::lock_guard lock(mutex_);
  return scale_;
}

KLSize KLQtTextMeasurer::measure(const KLAttributedText& text, double width) const {
  const QSizeF size = KLQtTextLayout(text, width).size();
  return {size.width(), size.height()};
}

void KLQtPasteboard::setString(const std::string& text) { QGuiApplication::clipboard()->setText(QString::fromStdString(text)); }

KLQtLifeCycle::KLQtLifeCycle(KLNotificationCenter& notifications) : notifications_(notifications) {
  connect(qApp, &QGuiApplication::applicationStateChanged, this, &KLQtLifeCycle::refresh);
  connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { notifications_.post(kKLApplicationWillTerminateNotification); });
  qApp->installEventFilter(this);
  notifications_.post(kKLApplicationDidFinishLaunchingNotification);
}

bool KLQtLifeCycle::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::WindowStateChange && watched->isWidgetType()) {
    QMetaObject::invokeMethod(this, &KLQtLifeCycle::refresh, Qt::QueuedConnection);
  }
  return false;
}

void KLQtLifeCycle::refresh() {
  const Qt::ApplicationState state = QGuiApplication::applicationState();
  bool background = state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended;
  const auto windows = QApplication::topLevelWidgets();
  const auto shows = [](const QWidget* window) { return window->isVisible() && window->windowType() == Qt::Window; };
  const auto minimised = [&](const QWidget* window) { return !shows(window) || window->isMinimized(); };
  if (std::any_of(windows.begin(), windows.end(), shows)) background |= std::all_of(windows.begin(), windows.end(), minimised);
  if (background == background_) return;
  background_ = background;
  notifications_.post(background ? kKLApplicationDidEnterBackgroundNotification : kKLApplicationDidBecomeActiveNotification);
}

}  // namespace kaleo
