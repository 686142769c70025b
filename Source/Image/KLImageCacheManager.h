#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Image/KLDiskImageCache.h"
#include "Image/KLMemoryImageCache.h"
#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Pictures in memory, with their bytes on disk beneath. Keys are absolute URLs.
///
/// Clears the memory on the application's memory warning, and old files when it goes into the background or ends.
/// Threads: any; the disk is written and cleaned on a queue of its own, and completions run on the main queue.
/// Lifetime: borrows what the constructor takes.
class KLImageCacheManager {
 public:
  using Completion = std::function<void()>;

  /// `caches`: the user's directory for caches; the pictures lie in a directory of the library's own in there.
  KLImageCacheManager(const KLClock& clock, KLThreading& threading, KLQueue& mainQueue, const std::filesystem::path& caches,
                      KLNotificationCenter& notificationCenter);
  /// Writes what has been stored so far.
  ~KLImageCacheManager();
  KLImageCacheManager(const KLImageCacheManager&) = delete;
  KLImageCacheManager& operator=(const KLImageCacheManager&) = delete;

  /// Keeps the picture in memory at once, and `imageData` on disk soon. Without a picture or a key there is nothing to do and
  /// `completion` runs inside the call.
  void storeImage(std::shared_ptr<const KLImage> image, KLBytes imageData, const std::string& key, Completion completion = nullptr);
  /// Memory first, then the disk, which is read and decoded on the caller's thread. Null when neither has it.
  std::shared_ptr<const KLImage> imageFromCacheForKey(const std::string& key);
  void removeImageForKey(const std::string& key, Completion completion = nullptr);
  void clearMemory();
  void clearDiskOnCompletion(Completion completion = nullptr);
  void deleteOldFilesWithCompletion(Completion completion = nullptr);

  KLMemoryImageCache& memoryCache() { return memoryCache_; }
  KLDiskImageCache& diskCache() { return *diskCache_; }

 private:
  void observe(const char* name, void (KLImageCacheManager::*handler)());
  void deleteOldFiles() { deleteOldFilesWithCompletion(); }
  /// Runs `work` on the io queue, then `completion` on the main queue.
  void onDisk(std::function<void(KLDiskImageCache&)> work, Completion completion);

  KLQueue& mainQueue_;
  KLNotificationCenter& notificationCenter_;
  std::vector<KLNotificationCenter::Token> tokens_;
  KLMemoryImageCache memoryCache_;
  /// Shared with the tasks of the io queue, which may outlive this object by a moment.
  std::shared_ptr<KLDiskImageCache> diskCache_;
  std::shared_ptr<KLQueue> ioQueue_;
};

}  // namespace kaleo
