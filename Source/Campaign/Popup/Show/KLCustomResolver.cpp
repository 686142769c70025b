#include "Campaign/Popup/Show/KLCustomResolver.h"

#include "Campaign/Popup/Show/KLCampaignErrors.h"

namespace kaleo {
namespace {

constexpr const char* kQueueLabel = "org.kaleo.KLCustomResolver";

}  // namespace

KLCustomResolver::KLCustomResolver(const KLCampaignSurroundings& surroundings) : stage_(surroundings, kQueueLabel) {}

void KLCustomResolver::reachCampaign(Campaign campaign) {
  stage_.onQueue([this, campaign = std::move(campaign)] { show(campaign); });
}

void KLCustomResolver::reachTestCampaign(Campaign campaign) {
  stage_.onQueue([this, campaign = std::move(campaign)] { showTest(campaign); });
}

bool KLCustomResolver::canReachCampaign(const KLCampaign& campaign) const { return campaign.type == KLCampaign::kTypeCustomized; }

void KLCustomResolver::show(const Campaign& campaign) {
  const KLCampaignPlanEvent event(campaign, stage_.surroundings());
  if (const auto error = refusal(campaign, event)) return loadFailedWithCampaign(campaign, event, *error);
  if (!handOver(campaign, event)) return;
  stage_.note(*campaign, KLPopupOutcome::Kind::HandedOver);
  stage_.post(kCampaignDidEndNotification);
}

void KLCustomResolver::showTest(const Campaign& campaign) {
  handOver(campaign, KLCampaignPlanEvent(campaign, stage_.surroundings()));
}

std::optional<KLError> KLCustomResolver::refusal(const Campaign& campaign, const KLCampaignPlanEvent& event) {
  if (!event.planModel || !event.planModel->isTrigger) return KLCampaignErrors::notTriggerPlan();
  return stage_.mayStart(campaign) ? std::nullopt : std::optional(KLCampaignErrors::refusedByApplication());
}

std::optional<KLError> KLCustomResolver::obstacle(const KLCampaign& campaign) {
  using Answer = KLCampaignStage::Answer;
  const Answer answer =
      stage_.askCampaignDelegate([](KLCampaignDelegate& delegate) { return delegate.implementsCampaignDidStart(); });
  if (answer == Answer::Silent) return KLCampaignErrors::refusedByApplication();
  if (answer != Answer::Yes) return KLCampaignErrors::callbackMissing();
  return campaign.content.empty() ? std::optional(KLCampaignErrors::customContentMissing()) : std::nullopt;
}

bool KLCustomResolver::handOver(const Campaign& campaign, const KLCampaignPlanEvent& event) {
  if (const auto error = obstacle(*campaign)) {
    loadFailedWithCampaign(campaign, event, *error);
    return false;
  }
  event.trackPlanPopupDisplayWithError(std::nullopt);
  stage_.tellCampaignDelegate([campaign](auto& delegate) { delegate.campaignDidStart(*campaign); });
  return true;
}

void KLCustomResolver::loadFailedWithCampaign(const Campaign& campaign, const KLCampaignPlanEvent& event, const KLError& error) {
  if (stage_.isClosed()) return;  // the library ends; nothing has failed
  event.trackPlanPopupDisplayWithError(error);
  stage_.note(*campaign, KLPopupOutcome::Kind::Failed, error);
  if (campaign->planID) stage_.post(kCampaignDidFailedNotification);
  stage_.tellCampaignDelegate([campaign, error](auto& delegate) { delegate.campaignFailed(*campaign, error); });
}

}  // namespace kaleo
