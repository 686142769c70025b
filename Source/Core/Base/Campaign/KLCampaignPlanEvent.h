#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Campaign/Popup/Model/KLPopupElementModel.h"
#include "Core/Base/Campaign/KLCampaignSurroundings.h"
#include "kaleo/KLCampaign.h"
#include "kaleo/KLError.h"

namespace kaleo {

/// The two events that tell of one campaign's display and clicks, tracked through the host.
/// Threads: any, one after the other. Lifetime: borrows the surroundings' bridge.
class KLCampaignPlanEvent {
 public:
  KLCampaignPlanEvent(std::shared_ptr<const KLCampaign> campaign, const KLCampaignSurroundings& surroundings);

  const std::shared_ptr<const KLCampaign> campaign;
  const std::shared_ptr<const KLPopupPlanModel> planModel;  ///< null for a test popup and for a plan that is gone
  const std::optional<std::string> popupUUID;

  /// What the popup says, set by the resolver from its layout.
  std::optional<std::string> msgTitle, msgContent, msgImageURL;

  /// What both events have in common. An absent value leaves its key out, here and below.
  KLObject superProperties() const;
  /// The event carries the time of the event that triggered the campaign, and the ids of the user whom the plan was fetched for.
  KLObject displayPropertiesWithError(const std::optional<KLError>& error) const;
  KLObject clickedPropertiesWithElementModel(const KLPopupElementModel* element) const;

  /// Tracks "$PlanPopupDisplay": no error tells of a display, an error of one that failed.
  void trackPlanPopupDisplayWithError(const std::optional<KLError>& error) const;
  /// Tracks "$PlanPopupClick".
  void trackPlanPopupClickWithElementModel(const KLPopupElementModel* element) const;

 private:
  void track(const std::string& event, KLObject properties) const;

  const NBBridge& bridge_;
};

}  // namespace kaleo
