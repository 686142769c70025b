#include "Shop/ShopDelegates.h"

namespace shop {
namespace {

using kaleo::KLCampaign;
using kaleo::KLError;

/// A test popup has no plan.
std::string popup(const std::string& planID) { return planID.empty() ? "test popup" : "popup " + planID; }

std::string nameOf(const KLCampaign& campaign) {
  return campaign.planID.value_or("of the test") + (campaign.name ? " (" + *campaign.name + ")" : "");
}

}  // namespace

void ShopDelegates::popupLoadSuccessWithPlanID(const std::string& planID) { handlers_.note(popup(planID) + " is on screen"); }

void ShopDelegates::popupLoadFailedWithPlanID(const std::string& planID, const KLError& error) {
  handlers_.note(popup(planID) + " failed: " + error.localizedDescription);
}

void ShopDelegates::popupDidCloseWithPlanID(const std::string& planID) { handlers_.note(popup(planID) + " is closed"); }

void ShopDelegates::campaignDidStart(const KLCampaign& campaign) {
  if (campaign.type != KLCampaign::kTypeCustomized) return;
  handlers_.note("campaign " + nameOf(campaign) + " is shown by the shop");
  handlers_.showCustomized(campaign.content);
}

void ShopDelegates::campaignDidClick(const KLCampaign& campaign) {
  handlers_.note("popup " + nameOf(campaign) + " was clicked");
  const auto& action = campaign.action;
  if (action && action->type == kaleo::KLPopupActionType::OpenLink && action->value) handlers_.openLink(action->value->asString());
}

void ShopDelegates::campaignFailed(const KLCampaign& campaign, const KLError& error) {
  handlers_.note("campaign " + nameOf(campaign) + " failed: " + error.localizedDescription);
}

}  // namespace shop
