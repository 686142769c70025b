#include "Foundation/KLNumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace kaleo {
namespace {

constexpr double kFixedFrom = 1e-4;
constexpr double kFixedBelow = 1e17;
// A sign, 17 digits, a point, four zeros after it or an exponent: 26 characters at the most.
constexpr std::size_t kLongestText = 32;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The exponent that `text` begins with; one that is too large for a double keeps its sign.
double exponentOf(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  int exponent = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), exponent);
  if (result.ec != std::errc::result_out_of_range) return exponent;
  return text.starts_with('-') ? -HUGE_VAL : HUGE_VAL;
}

// Whether a decimal number that no double can hold is too large, not too small: whether its first digit other than 0 stands, with
// the exponent, left of the point.
bool isTooLarge(std::string_view number) {
  const std::size_t exponentAt = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, exponentAt);
  const auto point = static_cast<double>(std::min(digits.find('.'), digits.size()));
  const auto first = static_cast<double>(std::min(digits.find_first_not_of("0."), digits.size()));
  const double exponent = exponentAt < number.size() ? exponentOf(number.substr(exponentAt + 1)) : 0;
  return point - first + exponent > 0;
}

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

double KLDecimalPrefix(std::string_view text) {
  if (text.empty() || !(isDigit(text.front()) || text.front() == '.')) return 0;  // no sign, no "inf", no "nan"
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::invalid_argument) return 0;
  if (error != std::errc::result_out_of_range) return value;
  return isTooLarge(text.substr(0, static_cast<std::size_t>(end - text.data()))) ? HUGE_VAL : 0;
}

}  // namespace kaleo
