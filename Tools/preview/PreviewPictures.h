#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Foundation/KLSystem.h"
#include "Foundation/KLThreads.h"
#include "Image/KLImageDownloader.h"
#include "preview/PreviewPopup.h"
#include "preview/PreviewSession.h"

namespace kaleo::tools {

/// The library's picture downloader for previews: files and HTTP, nothing kept on disk from one preview to the next.
/// Main thread. Lifetime: borrows the log; the main queue runs on until this object has gone.
class PreviewPictures {
 public:
  PreviewPictures(std::shared_ptr<KLQueue> mainQueue, const KLLog& log);

  /// The views of `popup`, whose pictures come later, on the main queue. `arrived` runs there once for each of its pictures, after
  /// the picture, with its path or URL and the reason when none comes ("" when it has come).
  using Arrived = std::function<void(const std::string& name, const std::string& failure)>;
  std::unique_ptr<KLView> viewOf(const KLPopupModel& popup, const Arrived& arrived);
  /// How many pictures are still awaited.
  std::size_t awaited() const { return *awaited_; }

 private:
  void await(const std::string& url, const Arrived& arrived);

  const std::shared_ptr<KLQueue> mainQueue_;
  KLThreadThreading threading_;
  KLSystemClock clock_;
  KLNotificationCenter center_;
  PreviewSession session_;
  KLImageCacheManager cache_;
  KLImageDownloader downloader_;
  const std::shared_ptr<std::size_t> awaited_ = std::make_shared<std::size_t>(0);
};

}  // namespace kaleo::tools
