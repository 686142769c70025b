#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace kaleo::fuzz {

/// Where a value stands in a JSON text, in bytes.
struct JSONSpan {
  std::size_t nameBegin;  ///< of a member: where its name begins; of anything else: `begin`
  std::size_t begin;
  std::size_t end;

  bool isMember() const { return nameBegin != begin; }
  bool contains(const JSONSpan& other) const { return begin <= other.nameBegin && other.end <= end && begin != other.begin; }
};

/// All values in `text`, inner ones before those around them. Text that is no JSON, or several documents one after the other, gives
/// what can be told apart in it; text that does not look like JSON gives nothing.
std::vector<JSONSpan> jsonSpans(std::string_view text);

}  // namespace kaleo::fuzz
