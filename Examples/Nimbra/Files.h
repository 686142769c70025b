#pragma once

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace nimbra {

/// The whole text of a file; nothing when it cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& path);

/// Replaces the file in one step: after a crash it holds the old text or the new one. False when it cannot be written.
bool replaceFile(const std::filesystem::path& path, std::string_view text);

/// A file that lines are added to. When it has grown beyond `kMaxBytes` it is renamed to "NAME.old" and begun anew.
/// Threads: any.
class LineFile {
 public:
  static constexpr std::size_t kMaxBytes = 8u << 20;

  explicit LineFile(std::filesystem::path path) : path_(std::move(path)) {}
  bool append(const std::string& line);

 private:
  const std::filesystem::path path_;
  std::mutex mutex_;  ///< one line at a time
};

}  // namespace nimbra
