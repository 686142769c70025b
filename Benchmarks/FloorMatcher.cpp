#include "FloorMatcher.h"

#include <algorithm>
#include <tuple>

namespace kaleo::bench {

FloorMatcher::FloorMatcher(const std::vector<Rule>& rules) {
  for (std::size_t i = 0; i < rules.size(); ++i) rulesByName_[eventName(i % kEventNames)].push_back(rules[i]);
  for (auto& [name, list] : rulesByName_) {
    std::ranges::sort(list, std::ranges::greater{}, [](const Rule& rule) { return std::tuple(rule.priority, rule.planID); });
  }
}

Matched FloorMatcher::match(const KLValue& event) const {
  Matched matched;
  const auto found = rulesByName_.find(event.find("event")->asString());
  if (found == rulesByName_.end()) return matched;
  const KLValue* const properties = event.find("properties");
  const std::string& city = properties->find(kCity)->asString();
  const double amount = properties->find(kAmount)->asDouble();
  const std::string& title = properties->find(kTitle)->asString();
  for (const Rule& rule : found->second) {
    if (city != rule.city || amount < rule.low || amount > rule.high || title.find(rule.word) == std::string::npos) continue;
    if (matched.count++ == 0) matched.first = rule.planID;
  }
  return matched;
}

bool FloorMatcher::isNeeded(const KLValue& event) const { return rulesByName_.contains(event.find("event")->asString()); }

}  // namespace kaleo::bench
