#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Image/KLImageDownloader.h"

namespace kaleo {

/// One download under way, and all who wait for it. Threads: the downloader's queue.
class KLImageDownloaderTask {
 public:
  explicit KLImageDownloaderTask(std::string address) : url(std::move(address)) {}

  /// Ignores an empty handler.
  void addResponseHandler(KLImageDownloader::Completion handler) {
    if (handler) responseHandlers_.push_back(std::move(handler));
  }
  /// In the order in which they were added.
  const std::vector<KLImageDownloader::Completion>& responseHandlers() const { return responseHandlers_; }

  const std::string url;
  std::shared_ptr<KLHTTPTask> task;

 private:
  std::vector<KLImageDownloader::Completion> responseHandlers_;
};

}  // namespace kaleo
