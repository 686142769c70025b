#pragma once

#include <cstdint>
#include <span>

#include "kaleo/KLImage.h"

namespace kaleo {

/// How a camera held the picture: the values of the Exif tag "Orientation" (CIPA DC-008, 4.6.4), named by where the first row and
/// the first column of the stored picture lie in the upright one.
enum class KLExifOrientation {
  Upright = 1,
  TopRight = 2,
  BottomRight = 3,
  BottomLeft = 4,
  LeftTop = 5,
  RightTop = 6,
  RightBottom = 7,
  LeftBottom = 8,
};

/// The orientation in the body of a JPEG APP1 segment ("Exif", a TIFF header, directory 0). Upright when it has none or is damaged.
KLExifOrientation KLExifOrientationOf(std::span<const std::uint8_t> segment);

/// The same picture upright.
KLPixels KLTurnUpright(KLPixels pixels, KLExifOrientation orientation);

}  // namespace kaleo
