#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kaleo::tools {

/// The files below one directory, and nothing else, for names that come from outside.
/// Threads: any; files are read anew at each call.
class ServedDirectory {
 public:
  /// Documents and pictures beyond this are not served.
  static constexpr std::size_t kMaxFileBytes = 64u << 20;

  /// `root` must be a directory.
  explicit ServedDirectory(const std::filesystem::path& root);

  const std::filesystem::path& root() const { return root_; }

  /// The bytes of the regular file `name` (segments joined by "/"). Nothing when there is none, when it is too long, or when the
  /// name leads out of the directory: by "..", by an absolute name, by a symbolic link.
  std::optional<std::string> read(std::string_view name) const;

  /// Writes `bytes` to the new file `name` in `folder`, which is made when missing. False when it leads out or cannot be written.
  bool write(std::string_view folder, std::string_view name, std::string_view bytes) const;

 private:
  /// The real path of what exists under `name`; nothing when it does not lie below the root.
  std::optional<std::filesystem::path> locate(std::string_view name) const;

  std::filesystem::path root_;  ///< without symbolic links
};

}  // namespace kaleo::tools
