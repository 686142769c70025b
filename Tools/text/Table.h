#pragma once

#include <string>
#include <vector>

#include "text/TerminalText.h"

namespace kaleo::tools {

/// A table for people: columns as wide as their widest cell, two blanks apart, under their headings.
class Table {
 public:
  enum class Side { Left, Right };  ///< the edge of its column that a cell begins at; numbers stand on the right
  struct Column {
    Column(const char* title, Side edge = Side::Left) : heading(title), side(edge) {}

    std::string heading;  ///< printable, but for line feeds: headings of several lines end on the same one
    Side side;
  };
  struct Cell {
    std::string text;  ///< printable
    Tone tone = Tone::Plain;
  };

  explicit Table(std::vector<Column> columns);

  /// `cells`: one for each column.
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
  bool empty() const { return rows_.size() == headingLines_; }

  /// The lines, each ended by a line feed and begun by `indent` blanks.
  std::string text(const Painter& paint, std::size_t indent = 0) const;

 private:
  void addHeadings();

  std::vector<Column> columns_;
  std::size_t headingLines_ = 1;
  std::vector<std::vector<Cell>> rows_;  ///< the headings first
};

}  // namespace kaleo::tools
