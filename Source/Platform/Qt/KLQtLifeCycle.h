#pragma once

#include <Qt>
#include <memory>

#include "KLQtWindows.h"
#include "kaleo/KLNotificationCenter.h"

namespace kaleo {

/// How the application's windows stand.
struct KLQtWindowCount {
  int shown = 0;      ///< minimised ones included
  int minimised = 0;  ///< of those
};

/// Whether nobody can see the application: the system has hidden or suspended it, or each of its windows is minimised. The loss of
/// the focus alone is not that, nor is the time before the first window.
constexpr bool isInBackground(Qt::ApplicationState state, KLQtWindowCount windows) {
  return state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended ||
         (windows.shown > 0 && windows.shown == windows.minimised);
}

/// Posts the application's life on `center`, on the main thread, for as long as `windows` lives: that it has finished launching
/// (from the event loop, so that a library made right after hears it), each way into the background and out of it, and that it
/// will terminate.
void postLifeCycle(KLQtWindows& windows, std::shared_ptr<KLNotificationCenter> center);

}  // namespace kaleo
