#include "check/BoundRules.h"

#include <fmt/format.h>

#include <cstddef>

#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo::tools {
namespace {

void checkValue(const At& at, Findings& findings) {
  if (at.text().size() > KLParseContext::kMaxTextLength) {
    findings.report(Check::BeyondBounds, at, fmt::format("This text has {} bytes: it is not read.", at.text().size()));
  }
  const auto elements = at.elements();
  if (elements.size() > KLParseContext::kMaxListLength) {
    findings.report(Check::BeyondBounds, at,
                    fmt::format("Of these {} entries the first {} are read.", elements.size(), KLParseContext::kMaxListLength));
  }
  for (const At& element : elements) checkValue(element, findings);
  if (!at.isObject()) return;
  for (const auto& [key, value] : at.value()->asObject()) {
    if (key != "popup_window_content") checkValue(at[key], findings);
  }
}

void checkNesting(const At& filter, int level, Findings& findings) {
  if (level > KLParseContext::kMaxFilterNesting) {
    findings.report(Check::BeyondBounds, filter, fmt::format("Below {} levels of filters no event is admitted.", level - 1));
    return;
  }
  for (const At& nested : filter["filters"].elements()) checkNesting(nested, level + 1, findings);
}

/// Counts elements as the library does; answers whether there was room for all.
bool hasRoom(const At& element, std::size_t depth, std::size_t& count, Findings& findings) {
  using Factory = KLPopupElementModelFactory;
  if (depth > Factory::kMaxDepth || count == Factory::kMaxElements) {
    findings.report(Check::BeyondBounds, element,
                    fmt::format("This element and those behind it are left out: a popup has {} elements and {} levels at most.",
                                Factory::kMaxElements, Factory::kMaxDepth));
    return false;
  }
  ++count;
  for (const At& entry : element["subviews"].elements()) {
    if (!entry.isObject() || quillon_boolValue(entry["properties"]["isHidden"].value())) continue;
    if (!hasRoom(entry, depth + 1, count, findings)) return false;
  }
  return true;
}

}  // namespace

void checkPlanBounds(const At& plan, Findings& findings) {
  checkValue(plan, findings);
  checkNesting(plan["event_permission"], 1, findings);
}

void checkElementBounds(const At& root, Findings& findings) {
  std::size_t count = 0;
  hasRoom(root, 1, count, findings);
}

}  // namespace kaleo::tools
