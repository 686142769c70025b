#pragma once

#include <cmath>

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo::tools {

/// A whole number without ".0".
inline KLValue lengthValue(double points) {
  const bool isWhole = std::trunc(points) == points;  // lengths have a bound far below that of whole doubles
  return isWhole ? KLValue(static_cast<std::int64_t>(points)) : KLValue(points);
}

/// What every line about an element begins with: "type" ("row" for every word that is none of an element) and "frame" (x, y, width,
/// height in points as laid out, relative to the parent).
inline KLObject elementValue(const KLPopupElementModel& element) {
  const KLRect frame = element.frame();
  return {
      {"type", element.type == KLPopupElementType::Row ? "row" : element.typeName.value_or("row")},
      {"frame", KLValue::Array{lengthValue(frame.x), lengthValue(frame.y), lengthValue(frame.width), lengthValue(frame.height)}}};
}

}  // namespace kaleo::tools
