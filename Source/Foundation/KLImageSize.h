#pragma once

#include <cstdint>
#include <string>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

inline constexpr std::uint64_t kKLBytesPerPixel = 4;

/// Why one frame of that size (in pixels) is refused, as it is empty or beyond the limits; empty when it is not. The product does
/// not overflow: no format declares more than 32 bits a side.
std::string KLImageSizeRefusal(std::uint32_t width, std::uint32_t height, const KLImageDecoder::Limits& limits);

/// Why `bytes` of decoded pixels are refused; empty when they are not.
std::string KLImageTotalRefusal(std::uint64_t bytes, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
