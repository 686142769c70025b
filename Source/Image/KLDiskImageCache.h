#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "kaleo/KLClock.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The downloaded bytes of pictures, a file for each key, in one directory that backups leave out. Nothing here reports an error: a
/// cache that cannot write is a cache that misses. Threads: any; files are replaced in one step, so that a reader sees the old
/// bytes or the new ones. Lifetime: borrows the clock.
class KLDiskImageCache {
 public:
  static constexpr double kDefaultMaxDiskAge = 604'800;  ///< 7 days, in seconds

  KLDiskImageCache(std::filesystem::path cachePath, const KLClock& clock) : cachePath_(std::move(cachePath)), clock_(clock) {}

  /// The MD5 digest of the key, with the path extension of the key read as a URL, else as a path.
  std::filesystem::path cachePathForKey(const std::string& key) const;
  /// Whether there is a file of the key, with its extension or without.
  bool containsDataForKey(const std::string& key) const;
  std::optional<KLBytes> dataForKey(const std::string& key) const;
  void setData(const KLBytes& data, const std::string& key);
  void removeDataForKey(const std::string& key);
  void removeAllData();
  /// Deletes what is older than `maxDiskAge`; if the rest is larger than `maxDiskSize`, also the oldest of it, until less than half
  /// of that size remains.
  void removeExpiredData();

  /// In seconds since the file was written; negative: files do not expire.
  void setMaxDiskAge(double seconds) { maxDiskAge_ = seconds; }
  double maxDiskAge() const { return maxDiskAge_; }
  /// In bytes as allocated on disk; 0: without limit.
  void setMaxDiskSize(std::uint64_t bytes) { maxDiskSize_ = bytes; }
  std::uint64_t maxDiskSize() const { return maxDiskSize_; }

 private:
  const std::filesystem::path cachePath_;
  const KLClock& clock_;
  std::atomic<double> maxDiskAge_ = kDefaultMaxDiskAge;
  std::atomic<std::uint64_t> maxDiskSize_ = 0;
};

}  // namespace kaleo
