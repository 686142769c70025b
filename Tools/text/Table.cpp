#include "text/Table.h"

#include <algorithm>
#include <utility>

namespace kaleo::tools {

Table::Table(std::vector<std::string> headings) : rows_(1) {
  for (std::string& heading : headings) rows_.front().push_back({std::move(heading), Tone::Heading});
}

std::string Table::text(const Painter& paint, std::size_t indent) const {
  constexpr std::size_t kGap = 2;
  std::vector<std::size_t> widths(rows_.front().size(), 0);
  for (const auto& cells : rows_) {
    for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], displayWidth(cells[i].text));
  }
  std::string text;
  for (const auto& cells : rows_) {
    std::size_t blanks = indent;  // held back until something follows, so that no line ends in blanks
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (!cells[i].text.empty()) {
        text.append(std::exchange(blanks, 0), ' ');
        text += paint(cells[i].tone, cells[i].text);
      }
      blanks += widths[i] - displayWidth(cells[i].text) + kGap;
    }
    text += '\n';
  }
  return text;
}

}  // namespace kaleo::tools
