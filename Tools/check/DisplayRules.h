#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// A plan's "display_time_config".
void checkDisplayTimes(const At& config, Findings& findings);

}  // namespace kaleo::tools
