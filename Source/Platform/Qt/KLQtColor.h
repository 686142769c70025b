#pragma once

#include <QColor>
#include <algorithm>

#include "kaleo/KLGeometry.h"

namespace kaleo {

/// Components out of range are brought into it.
inline QColor toQColor(const KLColor& color) {
  const auto unit = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
  return QColor::fromRgbF(unit(color.red), unit(color.green), unit(color.blue), unit(color.alpha));
}

}  // namespace kaleo
