#include "Campaign/Popup/Show/KLPopupResolver.h"

#include "Campaign/Popup/Show/KLPopupShowing.h"

namespace kaleo {

KLPopupResolver::KLPopupResolver(const KLCampaignSurroundings& surroundings, KLPresentation presentation,
                                 KLImageDownloader& downloader, std::filesystem::path resources)
    : showing_(std::make_shared<KLPopupShowing>(surroundings, std::move(presentation), downloader, std::move(resources))) {}

KLPopupResolver::~KLPopupResolver() { showing_->close(); }

void KLPopupResolver::reachCampaign(std::shared_ptr<KLCampaign> campaign) {
  showing_->stage().onQueue(
      [showing = showing_.get(), campaign = std::move(campaign)] { showing->showPopupWithCampaign(campaign); });
}

void KLPopupResolver::reachTestCampaign(std::shared_ptr<KLCampaign> campaign) {
  showing_->stage().onQueue(
      [showing = showing_.get(), campaign = std::move(campaign)] { showing->showTestPopupWithCampaign(campaign); });
}

bool KLPopupResolver::canReachCampaign(const KLCampaign& campaign) const { return campaign.type != KLCampaign::kTypeCustomized; }

}  // namespace kaleo
