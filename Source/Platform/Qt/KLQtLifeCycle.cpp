#include "KLQtLifeCycle.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <utility>

namespace kaleo {
namespace {

KLQtWindowCount countWindows() {
  KLQtWindowCount count;
  for (const QWidget* window : KLQtWindows::shownWindows()) {
    ++count.shown;
    if (window->isMinimized()) ++count.minimised;
  }
  return count;
}

}  // namespace

void postLifeCycle(KLQtWindows& windows, std::shared_ptr<KLNotificationCenter> center) {
  QObject::connect(qApp, &QCoreApplication::aboutToQuit, &windows,
                   [center] { center->post(kKLApplicationWillTerminateNotification); });
  QMetaObject::invokeMethod(
      &windows, [center] { center->post(kKLApplicationDidFinishLaunchingNotification); }, Qt::QueuedConnection);
  windows.observe([center, wasInBackground = false](const KLQtWindows&) mutable {
    const bool inBackground = isInBackground(QGuiApplication::applicationState(), countWindows());
    if (std::exchange(wasInBackground, inBackground) == inBackground) return;
    center->post(inBackground ? kKLApplicationDidEnterBackgroundNotification : kKLApplicationDidBecomeActiveNotification);
  });
}

}  // namespace kaleo
