#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// Lists and texts of a plan, without its content, that are longer than the library reads, and filters that nest deeper.
void checkPlanBounds(const At& plan, Findings& findings);
/// Elements of a layout's "template" beyond those that the library builds.
void checkElementBounds(const At& root, Findings& findings);

}  // namespace kaleo::tools
