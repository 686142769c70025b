#include "kaleo-qt/KLQtPlatform.h"

#include <QApplication>

#include "KLQtLifeCycle.h"
#include "KLQtMainQueue.h"
#include "KLQtPasteboard.h"
#include "KLQtPopupWindow.h"
#include "KLQtScreen.h"
#include "KLQtTextMeasurer.h"
#include "KLQtWindows.h"

namespace kaleo {

void installQtPresentation(KLPlatform& platform) {
  if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
    qWarning("Kaleo: the Qt presentation needs a QApplication; popups stay without a screen");
    return;
  }
  const std::shared_ptr<KLQtWindows> windows = KLQtWindows::watch();
  const KLQtSystemFont font;
  KLPresentation& presentation = platform.presentation;
  presentation.screen = std::make_shared<KLQtScreen>(windows);
  presentation.textMeasurer = std::make_shared<KLQtTextMeasurer>(font);
  presentation.pasteboard = std::make_shared<KLQtPasteboard>();
  presentation.windows = std::make_shared<KLQtPopupWindowFactory>(windows, presentation.screen, font);
  // Before the main queue, which ends with the application: observers of its end may still post.
  if (platform.notificationCenter) postLifeCycle(*windows, platform.notificationCenter);
  platform.mainQueue = std::make_shared<KLQtMainQueue>();
}

}  // namespace kaleo
