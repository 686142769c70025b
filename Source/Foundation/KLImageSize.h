#pragma once

#include <cstdint>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

inline constexpr std::uint64_t kKLBytesPerPixel = 4;

/// Whether one frame of that size (in pixels) is neither empty nor beyond the limits. The product does not overflow: no format
/// declares more than 32 bits a side.
inline bool KLImageSizeAllowed(std::uint32_t width, std::uint32_t height, const KLImageDecoder::Limits& limits) {
  const std::uint64_t pixels = std::uint64_t{width} * height;
  return pixels > 0 && pixels <= limits.maxPixels && pixels <= limits.maxTotalBytes / kKLBytesPerPixel;
}

}  // namespace kaleo
