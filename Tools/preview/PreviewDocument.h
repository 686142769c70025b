#pragma once

#include <filesystem>
#include <stdexcept>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// Why a document cannot be shown, for the person who writes it: "FILE:LINE:COLUMN: reason", without line and column where the
/// fault has none.
class PreviewError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A popup's layout as it was found in a file.
struct PreviewDocument {
  KLValue layout;                            ///< an object with a "template"
  std::vector<std::filesystem::path> files;  ///< what it is made of: the documents and the pictures in files
};

/// Reads `file`: a layout, or a whole plan or a popup window answer that holds one as text in its "content". Two things go beyond
/// what a server sends, so that files for `kaleo serve` can be shown as they are: "layout": "NAME.json" instead of "content", and
/// "{{base}}" for the directory that is served. A picture that is named by a path, relative to the file that holds the layout,
/// becomes a file: URL, whose fragment changes with the picture. Throws PreviewError.
PreviewDocument readPreviewDocument(const std::filesystem::path& file);

}  // namespace kaleo::tools
