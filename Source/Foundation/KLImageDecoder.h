#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "kaleo/KLImage.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// JPEG (libjpeg-turbo), PNG (libspng) and GIF (giflib) into pixels.
/// Threads: any; does its work on the caller's thread.
namespace KLImageDecoder {

enum class Format { Unknown = 0, JPEG = 1, PNG = 2, GIF = 3 };

/// By the first byte alone: 0x47 GIF, 0xFF JPEG, 0x89 PNG.
Format formatOf(const KLBytes& data);

/// What is refused before anything is decoded. No picture of a popup comes near.
struct Limits {
  std::size_t maxBytes = 20u << 20;      ///< of encoded data
  std::uint64_t maxPixels = 40'000'000;  ///< of one frame
  std::size_t maxFrames = 2'000;
  std::uint64_t maxTotalBytes = 512u << 20;  ///< decoded, pixels times frames times 4
};

/// The picture; null when the data is none, is damaged beyond use, or goes beyond the limits.
std::shared_ptr<const KLImage> decode(const KLBytes& data, const Limits& limits = {});

}  // namespace KLImageDecoder
}  // namespace kaleo
