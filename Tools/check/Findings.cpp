#include "check/Findings.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace kaleo::tools {

void Findings::report(Check check, const CheckedDocument& document, const std::string& pointer, std::string sentence) {
  const std::string shown = holder_ == nullptr ? pointer : holder_->pointer() + "#" + pointer;
  unplaced_.push_back({all_.size(), &document, {pointer, std::nullopt}});
  all_.push_back({check, document.name(), {}, shown, std::move(sentence)});
}

void Findings::reportWithin(Check check, const At& text, std::size_t inside, std::string sentence) {
  report(check, text, std::move(sentence));
  unplaced_.back().spot.inside = inside;
}

void Findings::close(const CheckedDocument& document) {
  const auto isOpen = [&document](const Unplaced& each) { return each.document != &document; };
  const auto first = std::ranges::find_if(unplaced_.rbegin(), unplaced_.rend(), isOpen).base();
  std::vector<CheckedDocument::Spot> spots;
  for (auto each = first; each != unplaced_.end(); ++each) spots.push_back(each->spot);
  if (spots.empty()) return;
  const auto offsets = document.offsetsOf(spots);
  if (holder_ != nullptr) {
    for (std::size_t i = 0; i < offsets.size(); ++i) {
      Unplaced& each = first[static_cast<std::ptrdiff_t>(i)];
      each = {each.finding, &holder_->document(), {holder_->pointer(), offsets[i]}};
    }
    return;
  }
  const auto places = document.placesOf(offsets);
  for (std::size_t i = 0; i < places.size(); ++i) all_[first[static_cast<std::ptrdiff_t>(i)].finding].place = places[i];
  unplaced_.erase(first, unplaced_.end());
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
