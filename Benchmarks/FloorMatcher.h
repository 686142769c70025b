#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "Workload.h"

namespace kaleo::bench {

/// What matching an event came to.
struct Matched {
  int count = 0;
  int first = -1;  ///< the id of the first matching plan in serving order; -1: none
  friend bool operator==(const Matched&, const Matched&) = default;
};

/// The floor: what a programmer would write who knew the three conditions in advance. The same comparisons on the same event
/// objects in the same order, and nothing else: no operators, no coercions, no absent properties, no windows.
class FloorMatcher {
 public:
  /// Rule i listens to name i mod 100.
  explicit FloorMatcher(const std::vector<Rule>& rules);

  Matched match(const KLValue& event) const;
  bool isNeeded(const KLValue& event) const;

 private:
  std::unordered_map<std::string, std::vector<Rule>> rulesByName_;  ///< each list in serving order
};

}  // namespace kaleo::bench
