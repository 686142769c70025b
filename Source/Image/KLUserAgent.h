#pragma once

#include <string>

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// The "User-Agent" of picture downloads, in ASCII (a name in another script is romanised).
/// `scale`: the screen's pixels a point.
std::string KLUserAgent(const KLApplicationInfo& application, double scale);

}  // namespace kaleo
