#pragma once

#include <sys/types.h>

#include <QFileSystemWatcher>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <map>
#include <tuple>
#include <vector>

namespace kaleo::tools {

/// Tells when files change: written in place, replaced as many editors do, taken away, or there at last. Main thread.
class FileWatch {
 public:
  /// `changed` runs from the event loop, once for changes that follow each other at once.
  explicit FileWatch(std::function<void()> changed);

  /// Follows these files and no others. What has changed since a file was first followed is not forgotten.
  void follow(const std::vector<std::filesystem::path>& files);

 private:
  /// Differs between two versions of a file: inode, size, time of change in seconds and nanoseconds. Zeros: there is no file.
  using Stamp = std::tuple<ino_t, off_t, time_t, long>;
  static Stamp stampOf(const std::filesystem::path& file);
  void check();
  void renewPaths();

  const std::function<void()> changed_;
  QFileSystemWatcher watcher_;
  QTimer settled_;
  std::map<std::filesystem::path, Stamp> files_;
};

}  // namespace kaleo::tools
