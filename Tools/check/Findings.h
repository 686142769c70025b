#pragma once

#include <string>
#include <vector>

#include "check/CheckCodes.h"
#include "check/CheckedDocument.h"

namespace kaleo::tools {

struct Finding {
  Check check = Check::NotJSON;
  std::string file;
  TextPlace place;
  std::string pointer;   ///< JSON pointer; inside of a layout kept as text "POINTER#POINTER INSIDE"
  std::string sentence;  ///< what this value does, in plain words
};

/// Collects findings. Findings in a layout that is kept as text within another document are placed at that text.
class Findings {
 public:
  void report(Check check, const At& at, std::string sentence);
  void add(Finding finding) { all_.push_back(std::move(finding)); }
  /// From now on documents lie, as text, in the value `holder`; null: they stand for themselves.
  void setHolder(const At* holder) { holder_ = holder; }

  const std::vector<Finding>& all() const { return all_; }
  /// By file in the order of the first finding, then by place.
  std::vector<Finding> sorted() const;

 private:
  std::vector<Finding> all_;
  const At* holder_ = nullptr;
};

}  // namespace kaleo::tools
