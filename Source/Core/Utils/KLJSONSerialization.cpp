#include "Core/Utils/KLJSONSerialization.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Foundation/KLNumberText.h"

namespace kaleo {
namespace {

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// A text without its leading blanks and sign.
struct Unsigned {
  bool negative = false;
  std::string_view rest;
};

Unsigned withoutSign(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  return {negative, text};
}

bool boolPrefix(std::string_view text) {
  text = withoutSign(text).rest;
  const std::size_t first = text.find_first_not_of('0');
  return first != std::string_view::npos && std::string_view("YyTt123456789").find(text[first]) != std::string_view::npos;
}

std::string numberText(const KLValue& number) {
  return number.isDouble() ? KLNumberText(number.asDouble()) : std::to_string(number.asInteger());
}

// Takes the part of `version` before its first dot, and what follows.
std::string_view nextPart(std::string_view& version) {
  const std::string_view part = version.substr(0, version.find('.'));
  version.remove_prefix(std::min(part.size() + 1, version.size()));
  return part;
}

}  // namespace

std::int64_t quillon_integerValue(const KLValue* value) {
  if (!value) return 0;
  return value->isString() ? quillon_integerPrefix(value->asString()) : value->asInteger();
}

float quillon_floatValue(const KLValue* value) { return static_cast<float>(quillon_doubleValue(value)); }

double quillon_doubleValue(const KLValue* value) {
  if (!value) return 0;
  return value->isString() ? quillon_doublePrefix(value->asString()) : value->asDouble();
}

bool quillon_boolValue(const KLValue* value) {
  if (!value) return false;
  return value->isString() ? boolPrefix(value->asString()) : value->asDouble() != 0;
}

std::optional<std::string> quillon_stringValue(const KLValue* value) {
  if (!value) return std::nullopt;
  return value->isNumber() ? numberText(*value) : value->asString();
}

std::vector<std::string> quillon_stringValues(const KLValue* value) {
  if (!value) return {};
  const auto& elements = value->asArray();
  if (!std::all_of(elements.begin(), elements.end(), [](const KLValue& element) { return element.isString(); })) return {};
  std::vector<std::string> texts;
  texts.reserve(elements.size());
  for (const KLValue& element : elements) texts.push_back(element.asString());
  return texts;
}

double quillon_doublePrefix(std::string_view text) {
  const auto [negative, number] = withoutSign(text);
  const double value = KLDecimalPrefix(number);
  return negative ? -value : value;
}

std::int64_t quillon_integerPrefix(std::string_view text) {
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const auto [negative, number] = withoutSign(text);
  std::uint64_t magnitude = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), magnitude);
  if (result.ec == std::errc::invalid_argument) return 0;
  if (result.ec == std::errc::result_out_of_range || magnitude > kMost) {
    return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
  }
  const auto integer = static_cast<std::int64_t>(magnitude);
  return negative ? -integer : integer;
}

int quillon_compareVersion(std::string_view left, std::string_view right) {
  while (!left.empty() || !right.empty()) {
    const auto leftPart = quillon_integerPrefix(nextPart(left));
    const auto rightPart = quillon_integerPrefix(nextPart(right));
    if (leftPart != rightPart) return leftPart < rightPart ? -1 : 1;
  }
  return 0;
}

}  // namespace kaleo
