#pragma once

#include <cstdint>

#include "check/Findings.h"

namespace kaleo::tools {

/// A length of time as the library reads it.
struct CheckedLength {
  bool isEmpty = true;  ///< a window of it is over as soon as it begins
  double seconds = 0;   ///< roughly: a month counts 30 days
};

/// Reports what is odd about a time model: "unit", "natural", "value". An absent one is no finding.
CheckedLength checkLength(const At& model, Findings& findings);
/// What it comes to, without reporting.
CheckedLength lengthOf(const At& model);

/// A plan's "re_enter". `secondsLeft`: until the plan expires.
void checkReEntry(const At& model, double secondsLeft, Findings& findings);
/// The configuration's "msg_limit_global".
void checkGlobalLimits(const At& limits, Findings& findings);
/// A plan's "display_time_config".
void checkDisplayTimes(const At& config, Findings& findings);

}  // namespace kaleo::tools
