#pragma once

#include <algorithm>
#include <string_view>

namespace kaleo {

// Comparison of texts without regard to the case of the letters A to Z, independent of any locale. Threads: any.

constexpr char KLLowerCase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

inline bool KLIsEqualIgnoringCase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, {}, KLLowerCase, KLLowerCase);
}

/// Whether `left` orders before `right`.
inline bool KLIsOrderedBeforeIgnoringCase(std::string_view left, std::string_view right) {
  const auto asByte = [](char character) { return static_cast<unsigned char>(KLLowerCase(character)); };
  return std::ranges::lexicographical_compare(left, right, {}, asByte, asByte);
}

}  // namespace kaleo
