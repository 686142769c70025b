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

/// Collects findings, document by document. Their lines and columns are known once their document is closed.
class Findings {
 public:
  void report(Check check, const At& at, std::string sentence) {
    report(check, at.document(), at.nearestPointer(), std::move(sentence));
  }
  void report(Check check, const CheckedDocument& document, const std::string& pointer, std::string sentence);
  /// Of the byte `inside` of the text that `text` is.
  void reportWithin(Check check, const At& text, std::size_t inside, std::string sentence);
  void add(Finding finding) { all_.push_back(std::move(finding)); }

  /// From now on documents lie, as text, in the value `holder`; null: they stand for themselves.
  void setHolder(const At* holder) { holder_ = holder; }
  /// Finds the places of what was reported in `document`, the last one that was opened.
  void close(const CheckedDocument& document);

  const std::vector<Finding>& all() const { return all_; }
  /// By file in the order of the first finding, then by place.
  std::vector<Finding> sorted() const;

 private:
  struct Unplaced {
    std::size_t finding;
    const CheckedDocument* document;
    CheckedDocument::Spot spot;
  };

  std::vector<Finding> all_;
  std::vector<Unplaced> unplaced_;
  const At* holder_ = nullptr;
};

}  // namespace kaleo::tools
