#include "check/Findings.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace kaleo::tools {

void Findings::report(Check check, const At& at, std::string sentence) {
  const At& placed = holder_ == nullptr ? at : *holder_;
  const std::string pointer = holder_ == nullptr ? at.pointer() : holder_->pointer() + "#" + at.pointer();
  all_.push_back({check, placed.document().name(), placed.document().placeOf(placed.pointer()), pointer, std::move(sentence)});
}

std::vector<Finding> Findings::sorted() const {
  std::map<std::string, std::size_t> order;
  for (const Finding& finding : all_) order.emplace(finding.file, order.size());
  std::vector<Finding> findings = all_;
  std::ranges::stable_sort(findings, {}, [&order](const Finding& finding) {
    return std::tuple(order.at(finding.file), finding.place.line, finding.place.column);
  });
  return findings;
}

}  // namespace kaleo::tools
