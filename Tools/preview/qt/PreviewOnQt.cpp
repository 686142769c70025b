#include <fmt/format.h>

#include <QApplication>
#include <QSaveFile>

#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Platform/Qt/KLQtMainQueue.h"
#include "Platform/Qt/KLQtTextMeasurer.h"
#include "preview/FrameLines.h"
#include "preview/Preview.h"
#include "preview/qt/PreviewPainting.h"
#include "preview/qt/PreviewWindow.h"

namespace kaleo::tools {
namespace {

constexpr const char* kPlatform = "QT_QPA_PLATFORM";

bool isSet(const char* variable) { return !qEnvironmentVariableIsEmpty(variable); }

void save(const QImage& picture, const std::filesystem::path& path) {
  QSaveFile file(QString::fromStdString(path.string()));
  constexpr int kSmallest = 0;  // of a PNG's "quality": the one that compresses most
  if (!file.open(QIODevice::WriteOnly) || !picture.save(&file, "PNG", kSmallest) || !file.commit()) {
    throw PreviewError(fmt::format("{}: {}", path.string(), file.errorString().toStdString()));
  }
}

void printAndPaint(const PreviewArguments& arguments, const PreviewOutput& output) {
  const auto tell = [&](const std::string& message) { output.err << message << std::endl; };
  const PreviewHost host(tell);
  const KLHeadlessScreen screen(arguments.screen, arguments.scale);
  const KLFixedTextMeasurer fixed;
  const KLQtTextMeasurer drawn{KLQtSystemFont()};
  const KLTextMeasurer& measurer = arguments.fixedMetrics ? static_cast<const KLTextMeasurer&>(fixed) : drawn;
  const auto popup = layOut(readPreviewDocument(arguments.file), screen, measurer, host.log());
  if (arguments.frames) output.out << frameLines(*popup.element) << std::flush;
  if (arguments.out.empty()) return;
  PreviewPictures pictures(std::make_shared<KLQtMainQueue>(), host.log());
  save(paintPreview(popup, arguments, pictures,
                    [&](const std::string& name, const std::string& failure) {
                      if (!failure.empty()) tell(name + ": " + failure);
                    }),
       arguments.out);
}

int openWindow(const PreviewArguments& arguments, const PreviewOutput& output) {
  PreviewWindow window(arguments, output);
  window.show();
  return QApplication::exec();
}

}  // namespace

int previewWithFonts(const PreviewArguments& arguments, const PreviewOutput& output) {
  const bool needsWindow = !arguments.frames && arguments.out.empty();
  if (needsWindow && !isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY") && !isSet(kPlatform)) {
    output.err << "kaleo preview: there is no display for a window; --out FILE.png writes a picture\n";
    return kCannotPreview;
  }
  if (!needsWindow && !isSet(kPlatform)) qputenv(kPlatform, "offscreen");
  if (needsWindow && arguments.scale != 1) qputenv("QT_SCALE_FACTOR", QByteArray::number(arguments.scale));
  int count = 1;
  char name[] = "kaleo";
  char* values[] = {name, nullptr};
  const QApplication application(count, values);
  if (needsWindow) return openWindow(arguments, output);
  try {
    printAndPaint(arguments, output);
    return kPreviewed;
  } catch (const PreviewError& error) {
    output.err << error.what() << "\n";
    return kCannotPreview;
  }
}

}  // namespace kaleo::tools
