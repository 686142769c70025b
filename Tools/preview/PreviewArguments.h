#pragma once

#include <filesystem>

#include "kaleo/KLGeometry.h"

namespace kaleo::tools {

/// What `kaleo preview` is asked for.
struct PreviewArguments {
  std::filesystem::path file;  ///< a layout, a plan or a popup window answer
  std::filesystem::path out;   ///< the picture to write; empty: none
  KLSize screen{375, 812};     ///< in points
  double scale = 1;            ///< pixels a point
  bool frames = false;         ///< print the frames
  bool fixedMetrics = false;   ///< measure texts without fonts
};

/// The exit statuses.
inline constexpr int kPreviewed = 0;
inline constexpr int kCannotPreview = 2;

}  // namespace kaleo::tools
