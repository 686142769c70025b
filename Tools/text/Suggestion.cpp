#include "text/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace kaleo::tools {
namespace {

constexpr std::size_t kNear = 3;  ///< edits between a misspelt word and the meant one

/// Levenshtein's distance; of long words only that it is large.
std::size_t edits(std::string_view from, std::string_view to) {
  if (from.size() > to.size() + kNear) return from.size();
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

}  // namespace

std::string_view suggestionFor(std::string_view word, const std::vector<std::string_view>& known) {
  const auto nearest = std::ranges::min_element(known, {}, [word](std::string_view name) { return edits(word, name); });
  if (nearest == known.end() || edits(word, *nearest) > std::min(kNear, word.size() / 2)) return "";
  return *nearest;
}

}  // namespace kaleo::tools
