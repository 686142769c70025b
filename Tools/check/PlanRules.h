#pragma once

#include <vector>

#include "check/Findings.h"

namespace kaleo::tools {

/// One plan of "popup_plans", without its layout. `now`: seconds since 1970.
void checkPlan(const At& plan, double now, Findings& findings);
/// Global limits ("msg_limit_global") that no plan takes part in, or the other way round.
void checkLimitsAgainst(const std::vector<At>& plans, const At& limits, Findings& findings);
/// What the plans are to each other: ids that repeat, and plans that one before them always inhibits.
void checkPlansTogether(const std::vector<At>& plans, double now, Findings& findings);

}  // namespace kaleo::tools
