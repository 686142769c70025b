#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kaleo::tools {

/// Where and why a text is no JSON (RFC 8259), for people who write it by hand.
struct JSONFault {
  std::size_t line = 1;    ///< from 1
  std::size_t column = 1;  ///< in characters (code points), from 1
  std::size_t offset = 0;  ///< in bytes, without a byte order mark
  std::string message;     ///< such as "expected ',' or '}'"; where the mistake is a usual one, how to mend it
};

/// The first fault in `text`; nothing when there is none. A byte order mark before the document is skipped. Documents nested deeper
/// than KLJSON::kMaxDepth or longer than KLJSON::kMaxBytes are at fault, too; files of other kinds are named.
std::optional<JSONFault> findJSONFault(std::string_view text);

}  // namespace kaleo::tools
