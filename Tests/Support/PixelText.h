#pragma once

#include <string>

#include "kaleo/KLImage.h"

namespace kaleo::testing {

/// A few pixels as text, rows joined by "/": K black, R red, G green, B blue, "." transparent, "?" anything else.
inline std::string pixelText(const KLPixels& pixels) {
  std::string text;
  for (int i = 0; i < pixels.width * pixels.height; ++i) {
    if (i > 0 && i % pixels.width == 0) text += '/';
    const auto* p = &pixels.rgba[static_cast<std::size_t>(i) * 4];
    const int value = p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3];
    switch (static_cast<unsigned>(value)) {
      case 0x000000FFu:
        text += 'K';
        break;
      case 0xFF0000FFu:
        text += 'R';
        break;
      case 0x00FF00FFu:
        text += 'G';
        break;
      case 0x0000FFFFu:
        text += 'B';
        break;
      case 0u:
        text += '.';
        break;
      default:
        text += '?';
    }
  }
  return text;
}

}  // namespace kaleo::testing
