#pragma once

#include <filesystem>

namespace kaleo::tools {

/// A directory for the time of one run, readable by its owner alone; in memory where the system has such a place, as every commit
/// of a database in it waits for its disk.
class ScratchDirectory {
 public:
  /// Makes one; its path is empty when none can be made.
  ScratchDirectory();
  /// Removes it with all that is in it.
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace kaleo::tools
