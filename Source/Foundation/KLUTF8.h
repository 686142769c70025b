#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kaleo {

/// Where the first sequence that is no valid UTF-8 (RFC 3629) begins; the length of `text` when all is valid. Threads: any.
std::size_t KLUTF8ErrorOffset(std::string_view text);
/// `text` with U+FFFD for each broken sequence (Unicode 3.9, maximal subparts). Threads: any.
std::string KLUTF8Repaired(std::string_view text);

}  // namespace kaleo
