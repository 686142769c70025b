#include "preview/Preview.h"

namespace kaleo::tools {

int previewWithFonts(const PreviewArguments&, const PreviewOutput& output) {
  output.err << "kaleo preview: this build has no Qt, which draws windows and pictures and measures texts in fonts; it prints\n"
                "frames with --frames --metrics fixed\n";
  return kCannotPreview;
}

}  // namespace kaleo::tools
