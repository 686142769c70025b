#include "preview/qt/PreviewPainting.h"

#include <QCoreApplication>
#include <QPainter>

#include "Platform/Headless/KLHeadlessWindow.h"
#include "Platform/Headless/KLVirtualThreading.h"
#include "Platform/Qt/KLQtPainter.h"
#include "preview/PreviewController.h"

namespace kaleo::tools {
namespace {

QImage overWhite(const QImage& picture) {
  QImage whole(picture.size(), QImage::Format_RGB888);
  whole.fill(Qt::white);
  whole.setDevicePixelRatio(picture.devicePixelRatio());
  QPainter(&whole).drawImage(0, 0, picture);
  return whole;
}

}  // namespace

QImage paintPreview(const KLPopupModel& popup, const PreviewArguments& arguments, PreviewPictures& pictures,
                    const PreviewPictures::Arrived& arrived) {
  KLVirtualThreading time(0);
  const auto screen = std::make_shared<KLHeadlessScreen>(arguments.screen, arguments.scale);
  const auto windows = std::make_shared<KLHeadlessWindowFactory>(time.mainQueue(), screen);
  const auto controller =
      controllerFor(popup, {screen, nullptr, std::make_shared<KLMemoryPasteboard>(), windows}, pictures, arrived);
  controller->animationDuration = 0;
  controller->show();
  time.advance(2 * KLHeadlessWindow::kFrameSeconds);  // the popup is in its place before any picture can move
  while (pictures.awaited() > 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);

  const QSizeF size(arguments.screen.width, arguments.screen.height);
  const QImage picture = KLQtPainter(KLQtSystemFont()).paint(*windows->windowOnScreen()->root(), size, arguments.scale, Qt::blue);
  controller->takeDown();
  return overWhite(picture);
}

}  // namespace kaleo::tools
