#pragma once

#include <string>

namespace kaleo {

/// The shortest text that reads back as the same double, whatever the locale: without an exponent from 1e-4 up to (not including)
/// 1e17, with one outside. A whole double has no fraction ("5"); "inf", "-inf" and "nan" for what is not finite. Threads: any.
std::string KLNumberText(double value);

}  // namespace kaleo
