#include "text/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace kaleo::tools {
namespace {

constexpr std::size_t kNear = 3;           ///< edits between a misspelt word and the meant one, at most
constexpr std::size_t kLettersAnEdit = 3;  ///< of a word for each edit: with more of them it is another word

/// The distance of optimal string alignment: letters added, left out, changed, or swapped with the next. Of long words only that it
/// is large.
std::size_t edits(std::string_view from, std::string_view to) {
  if (from.size() > to.size() + kNear) return from.size();
  std::vector<std::size_t> before(to.size() + 1), last(to.size() + 1), row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    before.swap(last);
    last.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      row[j] = std::min({last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1), last[j] + 1, row[j - 1] + 1});
      const bool isSwapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (isSwapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
  }
  return row.back();
}

}  // namespace

std::string_view suggestionFor(std::string_view word, const std::vector<std::string_view>& known) {
  const auto nearest = std::ranges::min_element(known, {}, [word](std::string_view name) { return edits(word, name); });
  const std::size_t letters = word.size() - std::min(word.find_first_not_of('-'), word.size());
  const std::size_t most = std::clamp(letters / kLettersAnEdit, std::size_t{1}, kNear);
  if (nearest == known.end() || letters < 2 || edits(word, *nearest) > most) return "";
  return *nearest;
}

}  // namespace kaleo::tools
