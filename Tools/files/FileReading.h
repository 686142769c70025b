#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace kaleo::tools {

/// Why `file` is no regular file of `maxBytes` at most that can be read, as the end of a sentence that its name begins; "" when it
/// is one.
std::string whyUnreadable(const std::filesystem::path& file, std::size_t maxBytes);

/// The whole text of a file, or of a pipe. On failure answers nothing, and `error` says why, as the end of a sentence that the
/// file's name begins.
std::optional<std::string> readText(const std::filesystem::path& file, std::string& error);

/// The name that stands for the standard input where a file is asked for.
inline constexpr const char* kStandardInput = "-";

}  // namespace kaleo::tools
