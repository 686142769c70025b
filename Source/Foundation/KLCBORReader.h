#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo {

/// Reads one CBOR item (RFC 8949) of the kinds that a KLValue has: integers of 64 bits, floating-point numbers, texts in UTF-8,
/// byte strings, arrays, maps with texts as keys, booleans, null, and tag 1 before a number for dates. Everything else is refused:
/// other tags, items of indefinite length, bytes after the item. Nothing recurses, and memory grows with the bytes read only.
/// Threads: one at a time; a reader reads once.
class KLCBORReader {
 public:
  /// The tag of a date given as seconds since 1970.
  static constexpr std::uint64_t kDateTag = 1;

  /// Bounds for how deeply arrays and maps nest, and for the items in all, keys and tags included.
  KLCBORReader(std::size_t maxDepth, std::size_t maxItems) : maxDepth_(maxDepth), itemsLeft_(maxItems) {}

  std::optional<KLValue> read(const KLBytes& bytes);

 private:
  // An array or map that still lacks `left` elements or members.
  struct Open {
    bool isMap = false;
    std::size_t left = 0;
    KLValue::Array elements;
    std::vector<KLObject::Entry> members;
    std::optional<std::string> key;  // of the member whose value comes next
  };

  // libcbor calls `Callbacks` for each item with the reader as context.
  struct Callbacks;

  void open(bool isMap, std::size_t count);
  void number(KLValue value);
  void text(const std::uint8_t* data, std::size_t length);
  // Puts a whole value where it belongs, and closes what it fills.
  void accept(KLValue value);
  bool put(Open& open, KLValue value);
  static KLValue close(Open& open);

  std::size_t maxDepth_;
  std::size_t itemsLeft_;
  std::size_t bytesLeft_ = 0;
  std::vector<Open> stack_;
  std::optional<KLValue> root_;
  bool isDateNext_ = false;
  bool isRefused_ = false;
};

}  // namespace kaleo
