#pragma once

#include <filesystem>
#include <memory>

#include "Core/Base/Campaign/KLCampaignResolver.h"
#include "Core/Base/Campaign/KLCampaignSurroundings.h"
#include "Image/KLImageDownloader.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

class KLPopupShowing;

/// Shows campaigns as popups of the library's own, one at a time: asks the last questions, loads the layout on a queue of its own,
/// and presents it on the main thread. Test popups stand beside that: a new one replaces the one before.
///
/// Threads: any; the destructor not on the resolver's own queue. It waits for what runs, drops what has not begun, and has a popup
/// on screen taken down on the main thread.
class KLPopupResolver final : public KLCampaignResolver {
 public:
  /// `resources` holds the application's own pictures and "Kaleo.bundle". Lifetime: borrows what `surroundings` borrow and the
  /// downloader.
  KLPopupResolver(const KLCampaignSurroundings& surroundings, KLPresentation presentation, KLImageDownloader& downloader,
                  std::filesystem::path resources);
  ~KLPopupResolver() override;

  void reachCampaign(std::shared_ptr<KLCampaign> campaign) override;
  void reachTestCampaign(std::shared_ptr<KLCampaign> campaign) override;
  bool canReachCampaign(const KLCampaign& campaign) const override;

 private:
  std::shared_ptr<KLPopupShowing> showing_;
};

}  // namespace kaleo
