#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// A place in a text, for people: both count from 1, columns in characters.
struct TextPlace {
  std::size_t line = 1;
  std::size_t column = 1;
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
  /// Where the value of a JSON pointer (RFC 6901) begins, or the nearest one around it that is there.
  TextPlace placeOf(std::string_view pointer) const;
  /// Pointers of members whose name stands more than once in their object.
  std::vector<std::string> duplicates() const;

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

 private:
  At(const CheckedDocument& document, const KLValue* value, std::string pointer)
      : document_(&document), value_(value), pointer_(std::move(pointer)) {}

  const CheckedDocument* document_;
  const KLValue* value_;
  std::string pointer_;
};

/// `key` as a part of a JSON pointer.
std::string pointerToken(std::string_view key);

}  // namespace kaleo::tools
