#include "Image/KLImageCacheManager.h"

#include <fmt/format.h>

#include <utility>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {
namespace {

constexpr const char* kDirectoryName = "org.kaleo.Kaleo";

void complete(KLQueue& mainQueue, KLImageCacheManager::Completion completion) {
  if (completion) mainQueue.async(std::move(completion));
}

}  // namespace

KLImageCacheManager::KLImageCacheManager(const KLClock& clock, KLThreading& threading, KLQueue& mainQueue,
                                         const std::filesystem::path& caches, KLNotificationCenter& notificationCenter)
    : mainQueue_(mainQueue),
      notificationCenter_(notificationCenter),
      diskCache_(std::make_shared<KLDiskImageCache>(caches / kDirectoryName, clock)),
      ioQueue_(threading.makeSerialQueue(fmt::format("org.kaleo.KLImageCacheManager.io-{}", fmt::ptr(this)))) {
  observe(kKLApplicationDidReceiveMemoryWarningNotification, &KLImageCacheManager::clearMemory);
  observe(kKLApplicationWillTerminateNotification, &KLImageCacheManager::deleteOldFiles);
  observe(kKLApplicationDidEnterBackgroundNotification, &KLImageCacheManager::deleteOldFiles);
}

KLImageCacheManager::~KLImageCacheManager() {
  for (const auto token : tokens_) notificationCenter_.removeObserver(token);
}

void KLImageCacheManager::observe(const char* name, void (KLImageCacheManager::*handler)()) {
  tokens_.push_back(notificationCenter_.addObserver(name, [this, handler](const auto&) { (this->*handler)(); }));
}

void KLImageCacheManager::onDisk(std::function<void(KLDiskImageCache&)> work, Completion completion) {
  ioQueue_->async([disk = diskCache_, &mainQueue = mainQueue_, work = std::move(work), completion = std::move(completion)] {
    work(*disk);
    complete(mainQueue, completion);
  });
}

void KLImageCacheManager::storeImage(std::shared_ptr<const KLImage> image, KLBytes imageData, const std::string& key,
                                     Completion completion) {
  if (!image || key.empty()) {
    if (completion) completion();
    return;
  }
  memoryCache_.setImage(std::move(image), key);
  onDisk(
      [data = std::move(imageData), key](KLDiskImageCache& disk) {
        if (!data.empty()) disk.setData(data, key);
      },
      std::move(completion));
}

std::shared_ptr<const KLImage> KLImageCacheManager::imageFromCacheForKey(const std::string& key) {
  if (auto image = memoryCache_.imageForKey(key)) return image;
  const auto data = diskCache_->dataForKey(key);
  auto image = data ? KLImageDecoder::decode(*data) : nullptr;
  if (image) memoryCache_.setImage(image, key);
  return image;
}

void KLImageCacheManager::removeImageForKey(const std::string& key, Completion completion) {
  if (key.empty()) return complete(mainQueue_, std::move(completion));
  memoryCache_.removeImageForKey(key);
  onDisk([key](KLDiskImageCache& disk) { disk.removeDataForKey(key); }, std::move(completion));
}

void KLImageCacheManager::clearMemory() { memoryCache_.removeAllImages(); }

void KLImageCacheManager::clearDiskOnCompletion(Completion completion) {
  onDisk([](KLDiskImageCache& disk) { disk.removeAllData(); }, std::move(completion));
}

void KLImageCacheManager::deleteOldFilesWithCompletion(Completion completion) {
  onDisk([](KLDiskImageCache& disk) { disk.removeExpiredData(); }, std::move(completion));
}

}  // namespace kaleo
