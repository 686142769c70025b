#include "Foundation/KLImageSize.h"

#include <fmt/format.h>

namespace kaleo {

std::string KLImageSizeRefusal(std::uint32_t width, std::uint32_t height, const KLImageDecoder::Limits& limits) {
  const std::uint64_t pixels = std::uint64_t{width} * height;
  if (pixels == 0) return "empty";
  if (pixels > limits.maxPixels) return fmt::format("{} x {} pixels, more than maxPixels {}", width, height, limits.maxPixels);
  return KLImageTotalRefusal(pixels * kKLBytesPerPixel, limits);
}

std::string KLImageTotalRefusal(std::uint64_t bytes, const KLImageDecoder::Limits& limits) {
  if (bytes <= limits.maxTotalBytes) return "";
  return fmt::format("{} bytes decoded, more than maxTotalBytes {}", bytes, limits.maxTotalBytes);
}

}  // namespace kaleo
