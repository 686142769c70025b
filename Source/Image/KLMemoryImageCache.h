#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "kaleo/KLImage.h"

namespace kaleo {

/// Decoded pictures by key, up to a total size; beyond it the pictures used longest ago go first.
/// Threads: any.
class KLMemoryImageCache {
 public:
  static constexpr std::size_t kDefaultMemoryCapacity = 100u << 20;

  std::shared_ptr<const KLImage> imageForKey(const std::string& key);
  /// The first picture of a key stays: setting another changes nothing. No picture: removes the key.
  void setImage(std::shared_ptr<const KLImage> image, const std::string& key);
  void removeImageForKey(const std::string& key);
  void removeAllImages();

  /// In bytes of decoded pixels; 0: without limit.
  void setMemoryCapacity(std::size_t bytes);
  std::size_t memoryCapacity() const;
  /// The cost of all pictures held, in bytes.
  std::size_t totalCost() const;

  /// Bytes of one frame of the picture, at 4 bytes a pixel.
  static std::size_t costOf(const KLImage& image);

 private:
  struct Entry {
    std::string key;
    std::shared_ptr<const KLImage> image;
    std::size_t cost;
  };
  using Entries = std::list<Entry>;

  void erase(Entries::iterator entry);
  void evict();

  mutable std::mutex mutex_;
  Entries entries_;                                            ///< most recently used first; guarded by mutex_
  std::unordered_map<std::string, Entries::iterator> places_;  ///< guarded by mutex_
  std::size_t memoryCapacity_ = kDefaultMemoryCapacity;        ///< guarded by mutex_
  std::size_t totalCost_ = 0;                                  ///< guarded by mutex_
};

}  // namespace kaleo
