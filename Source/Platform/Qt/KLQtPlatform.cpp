#include "kaleo-qt/KLQtPlatform.h"

#include <QApplication>

#include "KLQtMainQueue.h"
#include "KLQtPopupWindow.h"
#include "KLQtPresentation.h"

namespace kaleo {

void installQtPresentation(KLPlatform& platform) {
  platform.mainQueue = std::make_shared<KLQtMainQueue>();
  platform.presentation = {std::make_shared<KLQtScreen>(), std::make_shared<KLQtTextMeasurer>(), std::make_shared<KLQtPasteboard>(),
                           std::make_shared<KLQtPopupWindowFactory>()};
  // Goes with the application; keeps the notification centre until then.
  auto* const keeper = new QObject(qApp);
  auto* const lifeCycle = new KLQtLifeCycle(*platform.notificationCenter);
  lifeCycle->setParent(keeper);
  QObject::connect(keeper, &QObject::destroyed, [center = platform.notificationCenter] {});
}

}  // namespace kaleo
