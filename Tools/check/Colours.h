#pragma once

#include <optional>

#include "check/Findings.h"

namespace kaleo::tools {

/// A colour of a layout; parts from 0 to 1.
struct CheckedColour {
  double red = 0, green = 0, blue = 0, alpha = 0;
};

/// The colour under `at`, reported when it is no colour or cannot be seen. Nothing when there is none.
std::optional<CheckedColour> checkColour(const At& at, Findings& findings);

/// The contrast of two opaque colours, from 1 to 21 (WCAG 2.1, "contrast ratio").
double contrast(const CheckedColour& one, const CheckedColour& other);
/// What is seen of `over` on an opaque ground.
CheckedColour blended(const CheckedColour& over, const CheckedColour& ground);

}  // namespace kaleo::tools
