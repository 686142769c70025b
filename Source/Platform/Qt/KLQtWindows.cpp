#include "KLQtWindows.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QThread>
#include <algorithm>

namespace kaleo {
namespace {

bool belongsToAnother(const QWidget& window) {
  switch (window.windowType()) {
    case Qt::Tool:
    case Qt::Popup:
    case Qt::ToolTip:
    case Qt::SplashScreen:
    case Qt::Drawer:
      return true;
    default:
      return false;
  }
}

/// The window that `window` belongs to, or itself; null when it belongs to none that a popup could cover.
QWidget* ownerOf(QWidget* window) {
  while (window && belongsToAnother(*window)) window = window->parentWidget() ? window->parentWidget()->window() : nullptr;
  return window && window->isVisible() ? window : nullptr;
}

int areaOf(const QWidget* window) { return window->width() * window->height(); }

bool changesWindows(QEvent::Type type) {
  switch (type) {
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::Resize:
    case QEvent::WindowStateChange:
    case QEvent::WindowActivate:
    case QEvent::WindowDeactivate:
    case QEvent::ScreenChangeInternal:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::shared_ptr<KLQtWindows> KLQtWindows::watch() {
  return {new KLQtWindows, [](KLQtWindows* windows) {
            if (QThread::currentThread() == windows->thread()) {
              delete windows;
            } else {
              windows->deleteLater();
            }
          }};
}

KLQtWindows::KLQtWindows() {
  qApp->installEventFilter(this);
  connect(qApp, &QGuiApplication::applicationStateChanged, this, &KLQtWindows::changeSoon);
  connect(qApp, &QGuiApplication::primaryScreenChanged, this, &KLQtWindows::changeSoon);
}

KLQtWindows::~KLQtWindows() = default;

std::vector<QWidget*> KLQtWindows::shownWindows() {
  std::vector<QWidget*> shown;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->isVisible() && !belongsToAnother(*window)) shown.push_back(window);
  }
  return shown;
}

QWidget* KLQtWindows::hostWindow() const {
  for (QWidget* candidate : {QApplication::activeModalWidget(), QApplication::activeWindow(), lastActive_.data()}) {
    if (QWidget* window = ownerOf(candidate)) return window;
  }
  const std::vector<QWidget*> shown = shownWindows();
  const auto largest = std::max_element(shown.begin(), shown.end(), [](auto* a, auto* b) { return areaOf(a) < areaOf(b); });
  return largest == shown.end() ? nullptr : *largest;
}

void KLQtWindows::observe(std::function<void(const KLQtWindows&)> changed) {
  changed(*this);
  observers_.push_back(std::move(changed));
}

bool KLQtWindows::eventFilter(QObject* object, QEvent* event) {
  if (changesWindows(event->type()) && object->isWidgetType()) {
    auto* widget = static_cast<QWidget*>(object);
    if (event->type() == QEvent::WindowActivate && widget->isWindow()) lastActive_ = widget;
    if (widget->isWindow()) changeSoon();
  }
  return false;
}

void KLQtWindows::changeSoon() {
  if (std::exchange(pending_, true)) return;
  QMetaObject::invokeMethod(this, &KLQtWindows::notify, Qt::QueuedConnection);
}

void KLQtWindows::notify() {
  pending_ = false;
  for (const auto& observer : observers_) observer(*this);
}

}  // namespace kaleo
