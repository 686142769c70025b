#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// A plan's "pattern_popup": events, their counts and conditions.
void checkPattern(const At& pattern, Findings& findings);
/// A plan's "event_permission", a tree of conditions.
void checkPermission(const At& permission, Findings& findings);

/// Whether `wide` counts every event that `narrow` counts, and reaches its count no later.
bool covers(const At& wide, const At& narrow);
/// The filter of a matcher: "multi_filter", else "filter".
At filterOf(const At& matcher);
/// How many events a matcher needs.
std::int64_t neededOf(const At& matcher);

}  // namespace kaleo::tools
