#pragma once

#include <string>
#include <vector>

#include "text/TerminalText.h"

namespace kaleo::tools {

/// A table for people: columns as wide as their widest cell, two blanks apart, under one line of headings.
class Table {
 public:
  struct Cell {
    std::string text;  ///< printable
    Tone tone = Tone::Plain;
  };

  explicit Table(std::vector<std::string> headings);

  /// `cells`: one for each heading.
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
  bool empty() const { return rows_.size() == 1; }

  /// The lines, each ended by a line feed and begun by `indent` blanks.
  std::string text(const Painter& paint, std::size_t indent = 0) const;

 private:
  std::vector<std::vector<Cell>> rows_;  ///< the headings first
};

}  // namespace kaleo::tools
