#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Image/KLImageCacheManager.h"
#include "kaleo/KLError.h"
#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLImage.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// What a downloader stands on. Lifetime: borrowed, outlives the downloader.
struct KLImageDownloaderSurroundings {
  KLHTTPSession& session;
  KLImageCacheManager& cache;
  KLThreading& threading;
  KLQueue& mainQueue;
  const KLLog& log;
  std::string userAgent;  ///< ASCII
};

/// Fetches pictures: one exchange for all who ask for the same URL at the same time, decoded off the main thread, kept in the
/// cache. Threads: any; start and completion run on the main queue.
class KLImageDownloader {
 public:
  using Start = std::function<void()>;
  /// Exactly one of the two.
  using Completion = std::function<void(std::shared_ptr<const KLImage> image, std::optional<KLError> error)>;

  explicit KLImageDownloader(KLImageDownloaderSurroundings surroundings);
  /// Gives up the downloads under way: their completions do not run, unless they are already on the main queue. Waits for a
  /// decoding that is running.
  ~KLImageDownloader();
  KLImageDownloader(const KLImageDownloader&) = delete;
  KLImageDownloader& operator=(const KLImageDownloader&) = delete;

  /// `start` runs when an exchange begins (not for a hit in the cache, not for a caller who joins one). Either may be empty.
  /// No URL: error 1000.
  void downloadImageWithURL(const std::optional<std::string>& url, Start start, Completion completion);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo
