#include "check/KnownKeys.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLJSON.h"
#include "text/Suggestion.h"

namespace kaleo::tools {
namespace {

constexpr std::size_t kLongest = 60;

bool expect(const At& at, bool fits, std::string_view kind, Findings& findings) {
  if (at.isGiven() && !fits) findings.report(Check::WrongKind, at, fmt::format("{} should be {}.", written(at), kind));
  return fits;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string shortened(std::string text) {
  if (text.size() <= kLongest) return text;
  std::size_t cut = kLongest;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return text.substr(0, cut) + "…";
}

}  // namespace

void checkKeys(const At& object, std::initializer_list<std::string_view> known, Findings& findings) {
  if (!object.isObject()) return;
  for (const auto& [key, value] : object.value()->asObject()) {
    if (std::ranges::find(known, std::string_view(key)) != known.end() || key.starts_with('_') || key.starts_with('$')) continue;
    const auto meant = suggestionFor(key, known);
    if (!meant.empty() && !object[meant].isPresent()) {
      findings.report(Check::MisspeltKey, object[key], fmt::format("{} is not read; did you mean \"{}\"?", quoted(key), meant));
    } else {
      findings.report(Check::UnknownKey, object[key], fmt::format("{} is not read.", quoted(key)));
    }
  }
}

bool expectObject(const At& at, Findings& findings) { return expect(at, at.isObject(), "an object", findings); }

bool expectArray(const At& at, Findings& findings) {
  return expect(at, at.isPresent() && at.value()->isArray(), "an array", findings);
}

bool expectEntry(const At& at, Findings& findings) {
  if (!at.isGiven()) findings.report(Check::WrongKind, at, "null should be an object.");
  return expectObject(at, findings);
}

bool isClearBool(const At& at) {
  static constexpr std::array kWords{"true", "false", "yes", "no", "y", "n", "t", "f", "1", "0", ""};
  if (!at.isGiven() || at.value()->isNumber()) return true;
  return at.isText() && std::ranges::any_of(kWords, [&at](const char* word) { return KLIsEqualIgnoringCase(at.text(), word); });
}

bool checkBool(const At& at, Findings& findings) {
  const bool read = quillon_boolValue(at.value());
  if (!isClearBool(at)) {
    findings.report(Check::WrongKind, at,
                    fmt::format("{} should be true or false; it reads as {}.", written(at), read ? "true" : "false"));
  }
  return read;
}

void checkBlanks(const At& at, Findings& findings) {
  const std::string& text = at.text();
  if (text.empty() || (!isBlank(text.front()) && !isBlank(text.back()))) return;
  findings.report(Check::StrayBlank, at,
                  fmt::format("{} {} with a blank.", written(at), isBlank(text.front()) ? "begins" : "ends"));
}

bool checkInteger(const At& at, Findings& findings) {
  if (!at.isGiven()) return false;
  const auto read = static_cast<double>(quillon_integerValue(at.value()));
  const bool isNumber = at.isText() ? isWholeNumberText(at.text()) : at.value()->isInteger() || at.value()->isDouble();
  if (isNumber && quillon_doubleValue(at.value()) == read) return false;
  findings.report(Check::NotANumber, at, fmt::format("{} counts as {}.", written(at), quillon_integerValue(at.value())));
  return true;
}

bool isWholeNumberText(const std::string& text) {
  double number = 0;
  const std::size_t sign = text.starts_with('+') ? 1 : 0;
  const auto [end, error] = std::from_chars(text.data() + sign, text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && std::isfinite(number);
}

bool beginsWithNumber(const std::string& text) {
  const auto first = text.find_first_not_of(" \t+-.");
  return first != std::string::npos && std::isdigit(static_cast<unsigned char>(text[first])) != 0;
}

std::string didYouMean(std::string_view word, std::initializer_list<std::string_view> known) {
  const auto meant = suggestionFor(word, known);
  return meant.empty() ? "." : fmt::format("; did you mean \"{}\"?", meant);
}

std::string quoted(std::string_view text) { return KLJSON::serialize(KLValue(shortened(std::string(text)))); }

std::string written(const At& at) {
  if (!at.isPresent()) return "missing";
  return at.isText() ? quoted(at.text()) : shortened(KLJSON::serialize(*at.value()));
}

}  // namespace kaleo::tools
