#pragma once

#include <memory>

#include "Foundation/KLStillImage.h"
#include "Support/Pictures.h"

namespace kaleo::testing {

inline std::shared_ptr<const KLImage> pictureOf(int width, int height) {
  KLPixels pixels{width, height, {}};
  pixels.rgba.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  return std::make_shared<KLStillImage>(std::move(pixels));
}

/// A GIF of one row, as wide as told, so that pictures can be told apart.
inline KLBytes encodedPicture(int width) {
  return makeGIF(width, 1, {{.width = width, .indices = std::vector<std::uint8_t>(static_cast<std::size_t>(width), 1)}});
}

}  // namespace kaleo::testing
