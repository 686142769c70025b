#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// A place in a text, for people: both count from 1, columns in characters.
struct TextPlace {
  std::size_t line = 1;
  std::size_t column = 1;

  /// To the byte after `c`, of UTF-8.
  void advance(char c) {
    if (c == '\n') {
      ++line;
      column = 1;
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++column;
    }
  }
};

/// A JSON text with the places of its values. Threads: one at a time.
class CheckedDocument {
 public:
  /// `name` is how findings speak of the document. `text` must be JSON (see findJSONFault).
  CheckedDocument(std::string name, const std::string& text);
  ~CheckedDocument();
  CheckedDocument(const CheckedDocument&) = delete;
  CheckedDocument& operator=(const CheckedDocument&) = delete;

  const std::string& name() const { return name_; }
  const KLValue& root() const { return root_; }

  /// A place in the document: a value, or a byte of the text that the value is.
  struct Spot {
    std::string pointer;                ///< JSON pointer (RFC 6901)
    std::optional<std::size_t> inside;  ///< bytes into the text, its escapes resolved
  };
  /// Where each begins, in bytes from the start of the document; of a value that is not there the nearest one around it. One walk
  /// through the document, however many there are.
  std::vector<std::size_t> offsetsOf(const std::vector<Spot>& spots) const;
  /// Line and column of each offset.
  std::vector<TextPlace> placesOf(const std::vector<std::size_t>& offsets) const;

  /// Members whose name stands more than once in their object.
  struct Duplicate {
    std::string pointer;
    std::string name;
    std::size_t count = 0;
  };
  std::vector<Duplicate> duplicates() const;

 private:
  struct Source;

  std::string name_;
  KLValue root_;
  std::unique_ptr<Source> source_;
};

/// A value of a document, or its absence, with its place. Cheap to copy; borrows the document.
class At {
 public:
  explicit At(const CheckedDocument& document) : At(document, &document.root(), "") {}

  /// The value; null when it is absent.
  const KLValue* value() const { return value_; }
  bool isPresent() const { return value_ != nullptr; }
  /// Neither absent nor JSON null.
  bool isGiven() const { return value_ != nullptr && !value_->isNull(); }
  bool isObject() const { return value_ != nullptr && value_->isObject(); }
  bool isText() const { return value_ != nullptr && value_->isString(); }
  /// The text; empty when the value is none.
  const std::string& text() const;

  At operator[](std::string_view key) const;
  /// The elements of an array; none of anything else.
  std::vector<At> elements() const;

  const CheckedDocument& document() const { return *document_; }
  /// JSON pointer (RFC 6901) from the document's root.
  const std::string& pointer() const { return pointer_; }
  /// The pointer, or that of the nearest value around it when it is absent.
  std::string nearestPointer() const { return pointer_.substr(0, present_); }

 private:
  At(const CheckedDocument& document, const KLValue* value, std::string pointer, std::size_t presentAround = 0)
      : document_(&document),
        value_(value),
        pointer_(std::move(pointer)),
        present_(value == nullptr ? presentAround : pointer_.size()) {}

  const CheckedDocument* document_;
  const KLValue* value_;
  std::string pointer_;
  std::size_t present_;  ///< how much of the pointer leads to a value
};

/// `key` as a part of a JSON pointer, and back.
std::string pointerToken(std::string_view key);
std::string keyOfToken(std::string_view token);

}  // namespace kaleo::tools
