#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

/// What a layout comes to as the library lays it out on a phone: elements that reach out of their containers, or lie outside of
/// them, popups of no height, or too high for the screen. Small overhangs in height are left alone, as they hang on fonts.
void checkFrames(const At& layout, Findings& findings);

}  // namespace kaleo::tools
