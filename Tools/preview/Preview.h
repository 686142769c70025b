#pragma once

#include <ostream>

#include "preview/PreviewArguments.h"

namespace kaleo::tools {

/// Where `kaleo preview` speaks. Lifetime: borrowed.
struct PreviewOutput {
  std::ostream& out;
  std::ostream& err;
};

/// Does what is asked for and answers the exit status. Main thread; what needs fonts or a window makes the process's QApplication.
int preview(const PreviewArguments& arguments, const PreviewOutput& output);

/// The part of `preview` with fonts: pictures, windows, and frames of texts as they are drawn. In a build without Qt it says so and
/// fails.
int previewWithFonts(const PreviewArguments& arguments, const PreviewOutput& output);

}  // namespace kaleo::tools
