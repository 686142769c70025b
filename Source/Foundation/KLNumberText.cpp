#include "Foundation/KLNumberText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace kaleo {
namespace {

constexpr double kFixedFrom = 1e-4;
constexpr double kFixedBelow = 1e17;
// A sign, 17 digits, a point, four zeros after it or an exponent: 26 characters at the most.
constexpr std::size_t kLongestText = 32;

}  // namespace

std::string KLNumberText(double value) {
  if (std::isnan(value)) return "nan";
  const double magnitude = std::fabs(value);
  const bool fixed = magnitude == 0 || (magnitude >= kFixedFrom && magnitude < kFixedBelow);
  std::array<char, kLongestText> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value,
                                    fixed ? std::chars_format::fixed : std::chars_format::scientific);
  return {text.data(), result.ptr};
}

}  // namespace kaleo
