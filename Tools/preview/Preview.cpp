#include "preview/Preview.h"

#include "Platform/Headless/KLHeadlessPresentation.h"
#include "preview/FrameLines.h"
#include "preview/PreviewPopup.h"

namespace kaleo::tools {

int preview(const PreviewArguments& arguments, const PreviewOutput& output) {
  std::error_code ignored;
  if (!arguments.out.empty() && std::filesystem::equivalent(arguments.file, arguments.out, ignored)) {
    output.err << "kaleo preview: --out " << arguments.out.string() << " would write over the layout itself\n";
    return kCannotPreview;
  }
  if (!arguments.frames || !arguments.fixedMetrics || !arguments.out.empty()) return previewWithFonts(arguments, output);
  try {
    const PreviewHost host([&](const std::string& message) { output.err << message << "\n"; });
    const KLHeadlessScreen screen(arguments.screen, arguments.scale);
    const auto popup = layOut(readPreviewDocument(arguments.file), screen, KLFixedTextMeasurer(), host.log());
    output.out << frameLines(*popup.element) << std::flush;
    return kPreviewed;
  } catch (const PreviewError& error) {
    output.err << error.what() << "\n";
    return kCannotPreview;
  }
}

}  // namespace kaleo::tools
