#include "text/Table.h"

#include <algorithm>
#include <utility>

namespace kaleo::tools {
namespace {

std::size_t linesIn(const std::string& heading) { return 1 + static_cast<std::size_t>(std::ranges::count(heading, '\n')); }

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) { addHeadings(); }

void Table::addHeadings() {
  for (const Column& column : columns_) headingLines_ = std::max(headingLines_, linesIn(column.heading));
  rows_.assign(headingLines_, std::vector<Cell>(columns_.size(), {"", Tone::Heading}));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t line = headingLines_ - linesIn(columns_[i].heading);
    for (const char c : columns_[i].heading) {
      if (c == '\n') {
        ++line;
      } else {
        rows_[line][i].text += c;
      }
    }
  }
}

std::string Table::text(const Painter& paint, std::size_t indent) const {
  constexpr std::size_t kGap = 2;
  std::vector<std::size_t> widths(columns_.size(), 0);
  for (const auto& cells : rows_) {
    for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], displayWidth(cells[i].text));
  }
  std::string text;
  for (const auto& cells : rows_) {
    std::size_t blanks = indent;  // held back until something follows, so that no line ends in blanks
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::size_t room = widths[i] - displayWidth(cells[i].text);
      const bool isRight = columns_[i].side == Side::Right;
      if (isRight) blanks += room;
      if (!cells[i].text.empty()) {
        text.append(std::exchange(blanks, 0), ' ');
        text += paint(cells[i].tone, cells[i].text);
      }
      blanks += (isRight ? 0 : room) + kGap;
    }
    text += '\n';
  }
  return text;
}

}  // namespace kaleo::tools
