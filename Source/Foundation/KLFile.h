#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "kaleo/KLValue.h"

namespace kaleo {

/// Files as a whole. Nothing here throws: a failure is false or nothing.
/// Threads: any.
namespace KLFile {

enum class Access { Default, OwnerOnly };

/// The file's bytes; nothing when it cannot be read, is no regular file, or is longer than `maxBytes`.
std::optional<KLBytes> read(const std::filesystem::path& path, std::size_t maxBytes = 64u << 20);
/// Replaces the file in one step (a temporary file beside it, synchronised, then renamed): after a crash it holds the old bytes or
/// the new ones. Makes missing directories. OwnerOnly: mode 0600, directories made 0700.
bool writeAtomically(const std::filesystem::path& path, const KLBytes& bytes, Access access = Access::Default);
/// As `writeAtomically`, but only where there is nothing yet: of several processes that make the same file one succeeds.
bool createAtomically(const std::filesystem::path& path, const KLBytes& bytes, Access access = Access::Default);
/// Makes `directory` and those above it that are missing, so that they last. OwnerOnly: mode 0700. True when it is there.
bool makeDirectories(const std::filesystem::path& directory, Access access = Access::Default);
bool exists(const std::filesystem::path& path);
bool remove(const std::filesystem::path& path);

}  // namespace KLFile
}  // namespace kaleo
