#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// What reaches out of its container to a side, as the library lays a layout out on a phone. Heights are left alone, as they hang
/// on fonts.
void checkFrames(const At& layout, Findings& findings);

}  // namespace kaleo::tools
