#pragma once

#include <memory>
#include <optional>
#include <string>

#include "kaleo/KLCampaign.h"
#include "kaleo/KLError.h"
#include "kaleo/KLExport.h"

namespace kaleo {

/// Life of the library's own popups. Every callback is optional. Threads: the main thread, later than what it tells of.
/// A callback that throws is ignored.
class KALEO_API KLPopupDelegate {
 public:
  virtual ~KLPopupDelegate() = default;
  virtual void popupLoadSuccessWithPlanID(const std::string& planID) { (void)planID; }
  virtual void popupLoadFailedWithPlanID(const std::string& planID, const KLError& error) { (void)planID, (void)error; }
  /// `action` is the tapped element's first action.
  virtual void popupDidClickWithPlanID(const std::string& planID, const KaleoActionModel& action) { (void)planID, (void)action; }
  virtual void popupDidCloseWithPlanID(const std::string& planID) { (void)planID; }
};

/// Life of every campaign, the customised ones included. Every callback is optional. Threads: the main thread, with nothing of the
/// library locked: a callback may call the library. One that throws is ignored.
class KALEO_API KLCampaignDelegate {
 public:
  virtual ~KLCampaignDelegate() = default;

  /// Whether `campaignShouldStart` and `campaignDidStart` are implemented. A customised campaign fails without the latter.
  virtual bool implementsCampaignShouldStart() const { return true; }
  virtual bool implementsCampaignDidStart() const { return true; }

  /// Answers whether the campaign may be shown. The display waits for the answer; one that takes more than 10 seconds, or throws,
  /// counts as a refusal.
  virtual bool campaignShouldStart(const KLCampaign& campaign) { return (void)campaign, true; }
  virtual void campaignDidStart(const KLCampaign& campaign) { (void)campaign; }
  /// `campaign.action` is the tapped element's first action.
  virtual void campaignDidClick(const KLCampaign& campaign) { (void)campaign; }
  virtual void campaignDidEnd(const KLCampaign& campaign) { (void)campaign; }
  virtual void campaignFailed(const KLCampaign& campaign, const KLError& error) { (void)campaign, (void)error; }
};

/// Answer of `fetchCampaignsWithCompletion`.
struct KLCampaignResponse {
  bool success = false;
  /// The plans of the answer, as the server sent them.
  KLValue campaigns;
  std::optional<KLError> error;
};

}  // namespace kaleo
