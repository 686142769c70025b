#include "Foundation/KLUTF8.h"

#include <simdjson.h>
#include <unicode/utf8.h>

namespace kaleo {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Steps over one character or one broken sequence at `offset`. Answers whether it is a character.
bool stepOver(std::string_view text, std::size_t& offset) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const std::size_t length = text.size();
  UChar32 character = 0;
  U8_NEXT(bytes, offset, length, character);
  return character >= 0;
}

}  // namespace

std::size_t KLUTF8ErrorOffset(std::string_view text) {
  if (simdjson::validate_utf8(text)) return text.size();  // nearly always, and many bytes at a time
  for (std::size_t next = 0, start = 0; next < text.size(); start = next) {
    if (!stepOver(text, next)) return start;
  }
  return text.size();
}

std::string KLUTF8Repaired(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  for (std::size_t next = 0, start = 0; next < text.size(); start = next) {
    repaired += stepOver(text, next) ? text.substr(start, next - start) : kReplacement;
  }
  return repaired;
}

}  // namespace kaleo
