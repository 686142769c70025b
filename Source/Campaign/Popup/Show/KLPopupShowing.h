#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Campaign/Popup/Show/KLCampaignStage.h"
#include "Campaign/Popup/Show/KLPopupLoader.h"
#include "Campaign/Popup/Show/KLPopupViewController.h"
#include "Image/KLImageDownloader.h"

namespace kaleo {

/// The popup resolver at work: the popup that is shown or being prepared, and what its controller tells.
/// Threads: as each member says. Controllers refer to it weakly.
class KLPopupShowing final : public KLPopupViewControllerDelegate, public std::enable_shared_from_this<KLPopupShowing> {
 public:
  KLPopupShowing(const KLCampaignSurroundings& surroundings, KLPresentation presentation, KLImageDownloader& downloader,
                 std::filesystem::path resources);

  /// On the resolver's queue.
  void showPopupWithCampaign(const std::shared_ptr<KLCampaign>& campaign);
  void showTestPopupWithCampaign(const std::shared_ptr<KLCampaign>& campaign);

  KLCampaignStage& stage() { return stage_; }
  /// Ends all work and has the popups on screen taken down on the main thread. Any thread but the resolver's queue.
  void close();

  void willShowPopupViewController(KLPopupViewController& controller) override;
  void didShowPopupViewController(KLPopupViewController& controller) override;
  void willDismissViewController(KLPopupViewController& controller) override;
  void didDismissViewController(KLPopupViewController& controller) override;
  void didClickForElement(KLPopupViewController& controller, KLView& view) override;

 private:
  using Campaign = std::shared_ptr<KLCampaign>;
  using PlanEvent = std::shared_ptr<KLCampaignPlanEvent>;

  const KLLog& log() const { return stage_.surroundings().log; }
  std::shared_ptr<KLConfigOptions> options() const { return stage_.surroundings().options(); }

  // On the resolver's queue.
  bool take(const Campaign& campaign);
  std::optional<KLError> refusal(const Campaign& campaign, const KLPopupPlanModel* plan);
  KLPopupLoadResult load(const KLValue& content, KLCampaignPlanEvent& event) const;
  void loadFailedWithCampaign(const Campaign& campaign, const KLCampaignPlanEvent& event, const KLError& error);

  // On the main thread.
  std::shared_ptr<KLPopupViewController> popupViewController(const KLLoadedPopup& popup, const Campaign& campaign,
                                                             const PlanEvent& event);
  void present(const KLLoadedPopup& popup, const Campaign& campaign, const PlanEvent& event);
  void presentTest(const KLLoadedPopup& popup, const Campaign& campaign, const PlanEvent& event);
  void ended(const KLPopupViewController& controller);

  /// Frees the place that `campaign` holds; false when it holds none.
  bool release(const Campaign& campaign);
  bool isIdle() const;

  KLCampaignStage stage_;
  const KLPresentation presentation_;
  KLImageDownloader& downloader_;
  const KLPopupLoader loader_;

  mutable std::mutex mutex_;
  Campaign current_;  ///< guarded by mutex_; shown or being prepared, null when idle; a test popup never is

  // Main thread, and `close`.
  std::weak_ptr<KLPopupViewController> currentTestPopupViewController_;
  std::vector<std::weak_ptr<KLPopupViewController>> controllers_;  ///< that may be on screen
};

}  // namespace kaleo
