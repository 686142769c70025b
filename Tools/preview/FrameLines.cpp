#include "preview/FrameLines.h"

#include "Foundation/KLJSON.h"
#include "popup/ElementValue.h"

namespace kaleo::tools {
namespace {

void addLines(const KLPopupElementModel& element, std::string& lines) {
  KLObject line = elementValue(element);
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
