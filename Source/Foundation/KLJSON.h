#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLError.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// JSON (RFC 8259) in and out.
/// Threads: any.
namespace KLJSON {

/// Nesting that no honest document reaches; deeper ones are refused.
inline constexpr std::size_t kMaxDepth = 512;
/// Bytes that no honest document reaches; longer ones are refused.
inline constexpr std::size_t kMaxBytes = 64u << 20;
/// The domain of the error of a document beyond one of these bounds.
inline constexpr const char* kBoundErrorDomain = "KaleoJSONBoundErrorDomain";

/// Parses a whole document, whose root may be any value. Integers that fit 64 bits stay integers, other numbers become doubles. Of
/// members with the same key the last one counts; a byte order mark before the document is skipped. On failure answers nothing and
/// fills `error` (kKLJSONErrorDomain, or kBoundErrorDomain), whose code is the offset of the byte at which reading stopped; the
/// description names line and column.
std::optional<KLValue> parse(std::string_view text, KLError* error = nullptr);
std::optional<KLValue> parse(const KLBytes& bytes, KLError* error = nullptr);

enum class Style { Compact, Pretty };

/// The text of `value`. Members keep their order; doubles are written with the fewest digits that read back the same; a double that
/// is whole keeps ".0"; numbers that are not finite become null; dates are written as their seconds, bytes as base64. Text that is
/// no valid UTF-8 gets U+FFFD where it is broken; arrays and objects below kMaxDepth become null. Pretty: two blanks a level.
std::string serialize(const KLValue& value, Style style = Style::Compact);

/// Whether `value` is an array or object that JSON can express (no dates, bytes or numbers that are not finite).
bool isValidJSONObject(const KLValue& value);

}  // namespace KLJSON
}  // namespace kaleo
