#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kaleo/KLPlatform.h"
#include "preview/PreviewController.h"

namespace kaleo::bench {

/// The sample campaigns' layouts, by name.
std::vector<std::filesystem::path> sampleLayouts();

/// Shows sample popups with all their pictures, over the application's window. Main thread.
class SamplePopups {
 public:
  SamplePopups();

  /// A controller ready to show `layout`, whose pictures have come.
  std::shared_ptr<KLPopupViewController> controller(const std::filesystem::path& layout);
  /// Shows and dismisses it, and runs the event loop until it has gone. False when it does not come or go.
  bool play(const std::shared_ptr<KLPopupViewController>& controller);

 private:
  KLPlatform platform_;
  tools::PreviewHost host_;
  tools::PreviewPictures pictures_;
};

}  // namespace kaleo::bench
