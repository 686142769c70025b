#include "check/Colours.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "Core/Utils/KLJSONSerialization.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

constexpr double kFullPart = 255.0;

double partOf(const At& colour, const char* key, double full) {
  return std::clamp(quillon_doubleValue(colour[key].value()) / full, 0.0, 1.0);
}

/// Of sRGB: WCAG 2.1, "relative luminance".
double linear(double part) { return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); }

double luminance(const CheckedColour& colour) {
  return 0.2126 * linear(colour.red) + 0.7152 * linear(colour.green) + 0.0722 * linear(colour.blue);
}

/// Reports parts beyond their range, and those that were written for another one; answers whether it did.
bool checkScale(const At& colour, Findings& findings) {
  double most = 0;
  for (const char* key : {"r", "g", "b", "a"}) {
    const At part = colour[key];
    if (!part.isGiven() || part.value()->isNumber() || isWholeNumberText(part.text())) continue;
    findings.report(Check::NotANumber, part, fmt::format("{} counts as {:g}.", written(part), quillon_doubleValue(part.value())));
    return true;
  }
  for (const char* key : {"r", "g", "b", "a"}) {
    const double part = quillon_doubleValue(colour[key].value()), full = *key == 'a' ? 1 : kFullPart;
    if (part < 0 || part > full) {
      findings.report(Check::ColourScale, colour[key],
                      fmt::format("{} is cut to {:g}.", written(colour[key]), part < 0 ? 0 : full));
      return true;
    }
    if (*key != 'a') most = std::max(most, part);
  }
  if (most == 0 || most > 1) return false;
  findings.report(Check::ColourScale, colour, "This colour is all but black: its parts go up to 255.");
  return true;
}

}  // namespace

std::optional<CheckedColour> checkColour(const At& at, Findings& findings) {
  if (!at.isGiven()) return std::nullopt;
  if (!at.isObject()) {
    findings.report(Check::BadColour, at, fmt::format("{} is no colour.", written(at)));
    return std::nullopt;
  }
  checkKeys(at, {"r", "g", "b", "a"}, findings);
  if (checkScale(at, findings)) return std::nullopt;
  if (!at["a"].isGiven()) {
    findings.report(Check::InvisibleColour, at, "This colour has no \"a\" and cannot be seen.");
    return std::nullopt;
  }
  return CheckedColour{partOf(at, "r", kFullPart), partOf(at, "g", kFullPart), partOf(at, "b", kFullPart), partOf(at, "a", 1)};
}

double contrast(const CheckedColour& one, const CheckedColour& other) {
  const double a = luminance(one), b = luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

CheckedColour blended(const CheckedColour& over, const CheckedColour& ground) {
  const auto mix = [&over](double top, double bottom) { return top * over.alpha + bottom * (1 - over.alpha); };
  return {mix(over.red, ground.red), mix(over.green, ground.green), mix(over.blue, ground.blue), 1};
}

}  // namespace kaleo::tools
