#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "check/Findings.h"

namespace kaleo::tools {

/// A length of time as the library reads it.
struct CheckedLength {
  bool isEmpty = true;  ///< a window of it is over as soon as it begins
  double seconds = 0;   ///< roughly: a month counts 30 days
};

/// Reports what is odd about a time model: "unit", "natural", "value". An absent one is no finding. `effect`: what one without
/// length comes to, as the end of a sentence.
CheckedLength checkLength(const At& model, const char* effect, Findings& findings);
/// The same of one that keeps popups apart.
void checkQuietPeriod(const At& model, const char* effect, Findings& findings);
/// What it comes to, without reporting.
CheckedLength lengthOf(const At& model);
/// Why it is empty, and where that stands.
struct EmptyLength {
  Check check;
  At at;
  std::string sentence;
};
/// Nothing when the length is none of those; an absent one is.
std::optional<EmptyLength> whyEmpty(const At& model);

/// A plan's "re_enter". `secondsLeft`: until the plan expires.
void checkReEntry(const At& model, double secondsLeft, Findings& findings);
/// The configuration's "msg_limit_global".
void checkGlobalLimits(const At& limits, Findings& findings);

}  // namespace kaleo::tools
