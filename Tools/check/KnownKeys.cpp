#include "check/KnownKeys.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

constexpr std::size_t kLongest = 60;
constexpr std::size_t kNear = 3;  ///< edits between a misspelt name and the meant one

/// Levenshtein's distance.
std::size_t edits(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

std::string suggestion(std::string_view key, std::initializer_list<std::string_view> known) {
  const auto nearest = std::ranges::min_element(known, {}, [key](std::string_view name) { return edits(key, name); });
  if (nearest == known.end() || edits(key, *nearest) > std::min(kNear, key.size() / 2)) return "";
  return fmt::format("; did you mean \"{}\"?", *nearest);
}

bool expect(const At& at, bool fits, std::string_view kind, Findings& findings) {
  if (at.isGiven() && !fits) findings.report(Check::WrongKind, at, fmt::format("{} should be {}.", written(at), kind));
  return fits;
}

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
    findings.report(Check::UnknownKey, object[key], fmt::format("{} is not read{}", quoted(key), suggestion(key, known)));
  }
}

bool expectObject(const At& at, Findings& findings) { return expect(at, at.isObject(), "an object", findings); }

bool expectArray(const At& at, Findings& findings) {
  return expect(at, at.isPresent() && at.value()->isArray(), "an array", findings);
}

std::string quoted(std::string_view text) { return KLJSON::serialize(KLValue(shortened(std::string(text)))); }

std::string written(const At& at) {
  if (!at.isPresent()) return "nothing";
  return at.isText() ? quoted(at.text()) : shortened(KLJSON::serialize(*at.value()));
}

}  // namespace kaleo::tools
