#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// A layout document: "template", "properties" and what they hold.
void checkLayout(const At& layout, Findings& findings);

}  // namespace kaleo::tools
