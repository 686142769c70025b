#include "run/RunDelegates.h"

#include "run/RunPopup.h"

namespace kaleo::tools {
namespace {

template <class Value>
KLValue orNull(const std::optional<Value>& value) {
  return value ? KLValue(*value) : KLValue();
}

/// The callbacks tell a test popup, which has no plan, by an empty id.
KLValue idOf(const std::string& planID) { return planID.empty() ? KLValue() : KLValue(planID); }

KLObject withError(KLObject line, const KLError& error) {
  line.set("code", error.code);
  line.set("message", error.localizedDescription);
  return line;
}

KLObject argumentsOf(const KLCampaign& campaign) {
  KLObject arguments{{"plan_id", orNull(campaign.planID)},
                     {"name", orNull(campaign.name)},
                     {"uuid", orNull(campaign.uuid)},
                     {"type", campaign.type},
                     {"action", campaign.action ? valueOf(*campaign.action) : KLValue()},
                     {"trigger_time", orNull(campaign.triggerTime)}};
  // The layout of the library's own popups stands in their elements.
  if (campaign.type == KLCampaign::kTypeCustomized) arguments.set("content", campaign.content);
  return arguments;
}

}  // namespace

void RunDelegates::printCallback(const char* name, KLObject arguments) {
  if (mode_ == DelegateMode::None) return;
  KLObject line{{"callback", name}};
  for (const auto& [key, value] : arguments) line.set(key, value);
  print_(std::move(line));
}

void RunDelegates::printFailure(const KLValue& planID, const KLError& error) {
  print_(withError({{"popup", "failed"}, {"plan_id", planID}}, error));
}

void RunDelegates::popupLoadSuccessWithPlanID(const std::string& planID) {
  printCallback("popupLoadSuccessWithPlanID", {{"plan_id", idOf(planID)}});
}

void RunDelegates::popupLoadFailedWithPlanID(const std::string& planID, const KLError& error) {
  printFailure(idOf(planID), error);
  printCallback("popupLoadFailedWithPlanID", withError({{"plan_id", idOf(planID)}}, error));
}

void RunDelegates::popupDidClickWithPlanID(const std::string& planID, const KaleoActionModel& action) {
  printCallback("popupDidClickWithPlanID", {{"plan_id", idOf(planID)}, {"action", valueOf(action)}});
}

void RunDelegates::popupDidCloseWithPlanID(const std::string& planID) {
  print_({{"popup", "closed"}, {"plan_id", idOf(planID)}});
  printCallback("popupDidCloseWithPlanID", {{"plan_id", idOf(planID)}});
}

bool RunDelegates::campaignShouldStart(const KLCampaign& campaign) {
  const bool admits = mode_ != DelegateMode::Refuse;
  KLObject arguments = argumentsOf(campaign);
  arguments.set("returns", admits);
  printCallback("campaignShouldStart", std::move(arguments));
  return admits;
}

void RunDelegates::campaignDidStart(const KLCampaign& campaign) {
  if (campaign.type == KLCampaign::kTypeCustomized) {
    print_({{"popup", "custom"}, {"plan_id", orNull(campaign.planID)}, {"content", campaign.content}});
  } else {
    print_({{"popup", "shown"},
            {"plan_id", orNull(campaign.planID)},
            {"uuid", orNull(campaign.uuid)},
            {"name", orNull(campaign.name)},
            {"elements", elements_(campaign)}});
  }
  printCallback("campaignDidStart", argumentsOf(campaign));
}

void RunDelegates::campaignDidClick(const KLCampaign& campaign) { printCallback("campaignDidClick", argumentsOf(campaign)); }

void RunDelegates::campaignDidEnd(const KLCampaign& campaign) { printCallback("campaignDidEnd", argumentsOf(campaign)); }

void RunDelegates::campaignFailed(const KLCampaign& campaign, const KLError& error) {
  // Of a popup of the library's own the other delegate was told before.
  if (campaign.type == KLCampaign::kTypeCustomized) printFailure(orNull(campaign.planID), error);
  printCallback("campaignFailed", withError(argumentsOf(campaign), error));
}

}  // namespace kaleo::tools
