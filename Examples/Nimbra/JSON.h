#pragma once

#include <kaleo/KLValue.h>

#include <optional>
#include <string>
#include <string_view>

namespace nimbra {

/// `value` as JSON on one line. Bytes become {"$bytes": "hexadecimal digits"} and dates {"$date": seconds}, so that whatever is
/// put into a file comes back as it was.
std::string toJSON(const kaleo::KLValue& value);

/// The value of a document that `toJSON` wrote; nothing when it is no JSON.
std::optional<kaleo::KLValue> fromJSON(std::string_view text);

}  // namespace nimbra
