#pragma once

#include "kaleo/KLPlatform.h"

class QApplication;

namespace kaleo {

/// Puts the Qt 6 presentation into `platform`: windows above the application's active window, text, pasteboard, screen, the
/// main queue on Qt's event loop, and the application's life cycle as notifications of `platform.notificationCenter`.
///
/// Call it on the main thread after the QApplication was made. The library that runs on `platform` must be ended
/// (`Kaleo::shutdown`, or the instance's destructor) before the QApplication goes; connecting it to
/// `QCoreApplication::aboutToQuit` does.
KALEO_API void installQtPresentation(KLPlatform& platform);

}  // namespace kaleo
