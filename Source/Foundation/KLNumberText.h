#pragma once

#include <string>
#include <string_view>

namespace kaleo {

/// The shortest text that reads back as the same double, whatever the locale: without an exponent from 1e-4 up to (not including)
/// 1e17, with one outside. A whole double has no fraction ("5"); "inf", "-inf" and "nan" for what is not finite. Threads: any.
std::string KLNumberText(double value);

/// The double nearest to the decimal number that `text` begins with: digits, a point, an exponent, whatever the locale; no sign, no
/// blanks. Infinity when it is too large for a double, 0 when it is too small or when there is no number. Threads: any.
double KLDecimalPrefix(std::string_view text);

}  // namespace kaleo
