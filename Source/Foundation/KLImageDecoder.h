#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

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

/// A picture, or why there is none.
struct Outcome {
  std::shared_ptr<const KLImage> image;
  std::string refusal;  ///< for a log line; names the limit that the data goes beyond; empty when there is a picture
};

/// Refuses data that is no picture, is damaged beyond use, or goes beyond the limits. Of a picture that breaks off what came is
/// shown, as browsers do, and the rest is transparent.
Outcome decodeOrRefuse(const KLBytes& data, const Limits& limits = {});
/// The picture alone; null when it is refused.
std::shared_ptr<const KLImage> decode(const KLBytes& data, const Limits& limits = {});

}  // namespace KLImageDecoder
}  // namespace kaleo
