#pragma once

#include <vector>

#include "check/Findings.h"

namespace kaleo::tools {

/// One condition of a filter: its property, operator and parameters.
void checkCondition(const At& condition, Findings& findings);

/// What conditions on one property come to together: nothing that any value satisfies, joined by AND (`all`), or everything, joined
/// by OR. Found by asking the library's own operators for values around the parameters.
void checkTogether(const std::vector<At>& conditions, bool all, Findings& findings);

}  // namespace kaleo::tools
