#include "preview/FrameLines.h"

#include <cmath>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

/// A whole number without ".0".
KLValue number(double value) {
  const bool isWhole = std::trunc(value) == value;  // lengths have a bound far below that of whole doubles
  return isWhole ? KLValue(static_cast<std::int64_t>(value)) : KLValue(value);
}

KLValue typeOf(const KLPopupElementModel& element) {
  return element.type == KLPopupElementType::Row ? "row" : element.typeName.value_or("row");
}

void addLines(const KLPopupElementModel& element, std::string& lines) {
  const KLRect frame = element.frame();
  KLObject line{{"type", typeOf(element)},
                {"frame", KLValue::Array{number(frame.x), number(frame.y), number(frame.width), number(frame.height)}}};
  if (const auto& text = element.propertiesOrNone().text) line.set("text", *text);
  lines += KLJSON::serialize(std::move(line)) + "\n";
  for (const auto& child : element.subviews) addLines(*child, lines);
}

}  // namespace

std::string frameLines(const KLPopupElementModel& element) {
  std::string lines;
  addLines(element, lines);
  return lines;
}

}  // namespace kaleo::tools
