#pragma once

#include <functional>
#include <span>

#include "Foundation/KLGIFFile.h"

namespace kaleo {

/// One row of a frame: `y` from the frame's top, and a palette index for each of its pixels.
using KLGIFRow = std::function<void(int y, std::span<const std::uint8_t> indices)>;

/// Unpacks one frame of a scanned file, row by row in the order stored (interlaced frames: not from top to bottom). Stops where the
/// data is damaged; answers how many rows came. Threads: any.
int KLReadGIFRows(const KLBytes& data, const KLGIFFile& file, const KLGIFFrame& frame, const KLGIFRow& row);

}  // namespace kaleo
