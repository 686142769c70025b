#pragma once

#include <cstddef>
#include <cstdint>

#include "check/Alike.h"
#include "check/Findings.h"

namespace kaleo::tools {

/// A plan's "pattern_popup": events, their counts and conditions.
void checkPattern(const At& pattern, Findings& findings);
/// A plan's "event_permission", a tree of conditions.
void checkPermission(const At& permission, Findings& findings);

/// What a matcher counts, with a number for each different value, so that many of them are compared quickly.
struct CountedEvents {
  std::size_t event = 0;   ///< 0: none
  std::size_t filter = 0;  ///< 0: any event of that name
  std::size_t window = 0;
  std::int64_t needed = 0;
};
CountedEvents countedBy(const At& matcher, Alike& alike);
/// Whether each event that `narrow` counts makes `wide` due.
bool isDueAtOnce(const CountedEvents& wide, const CountedEvents& narrow);

/// How many events a matcher needs.
std::int64_t neededOf(const At& matcher);

}  // namespace kaleo::tools
