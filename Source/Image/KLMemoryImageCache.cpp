#include "Image/KLMemoryImageCache.h"

#include <utility>

namespace kaleo {
namespace {

constexpr std::size_t kBytesPerPixel = 4;

}  // namespace

std::size_t KLMemoryImageCache::costOf(const KLImage& image) {
  return static_cast<std::size_t>(image.pixelWidth()) * static_cast<std::size_t>(image.pixelHeight()) * kBytesPerPixel;
}

std::shared_ptr<const KLImage> KLMemoryImageCache::imageForKey(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(key);
  if (place == places_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, place->second);
  return place->second->image;
}

void KLMemoryImageCache::setImage(std::shared_ptr<const KLImage> image, const std::string& key) {
  if (!image) return removeImageForKey(key);
  const std::lock_guard lock(mutex_);
  if (places_.contains(key)) return;
  const auto cost = costOf(*image);
  entries_.push_front({key, std::move(image), cost});
  places_.emplace(key, entries_.begin());
  totalCost_ += cost;
  evict();
}

void KLMemoryImageCache::removeImageForKey(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(key);
  if (place != places_.end()) erase(place->second);
}

void KLMemoryImageCache::removeAllImages() {
  const std::lock_guard lock(mutex_);
  places_.clear();
  entries_.clear();
  totalCost_ = 0;
}

void KLMemoryImageCache::setMemoryCapacity(std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  memoryCapacity_ = bytes;
  evict();
}

std::size_t KLMemoryImageCache::memoryCapacity() const {
  const std::lock_guard lock(mutex_);
  return memoryCapacity_;
}

std::size_t KLMemoryImageCache::totalCost() const {
  const std::lock_guard lock(mutex_);
  return totalCost_;
}

void KLMemoryImageCache::erase(Entries::iterator entry) {
  totalCost_ -= entry->cost;
  places_.erase(entry->key);
  entries_.erase(entry);
}

void KLMemoryImageCache::evict() {
  while (memoryCapacity_ > 0 && totalCost_ > memoryCapacity_) erase(std::prev(entries_.end()));
}

}  // namespace kaleo
