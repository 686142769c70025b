#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "Foundation/KLJSON.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The container in which models, windows and keys are kept: a CBOR (RFC 8949) map {"kl": version, "class": name, "root": value}.
/// Dates are tag 1 with a double, bytes are byte strings. Objects carry their fields under named keys: an unknown key is skipped by
/// who restores, a missing one gives the default, so that older and newer versions read each other.
/// Threads: any.
namespace KLKeyedArchive {

inline constexpr int kVersion = 1;
/// Bounds for what is read and written: no honest archive comes near.
inline constexpr std::size_t kMaxDepth = KLJSON::kMaxDepth + 16;  ///< any JSON, and what a model and the container put around it
inline constexpr std::size_t kMaxBytes = 64u << 20;
inline constexpr std::size_t kMaxItems = 4u << 20;

/// Empty, and so no archive, for a root that goes beyond the bounds of items or bytes. What lies too deep is left out.
KLBytes archive(std::string_view className, const KLValue& root);

/// The root of an archive of `className`; nothing when the bytes are no such archive, are damaged, or go beyond the bounds.
std::optional<KLValue> unarchive(const KLBytes& bytes, std::string_view className);

}  // namespace KLKeyedArchive
}  // namespace kaleo
