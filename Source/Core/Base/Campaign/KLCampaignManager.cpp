#include "Core/Base/Campaign/KLCampaignManager.h"

#include <algorithm>

namespace kaleo {
namespace {

KLCampaignResolver* resolverFor(const std::vector<std::shared_ptr<KLCampaignResolver>>& resolvers, const KLCampaign& campaign) {
  const auto found =
      std::find_if(resolvers.begin(), resolvers.end(), [&](const auto& resolver) { return resolver->canReachCampaign(campaign); });
  return found == resolvers.end() ? nullptr : found->get();
}

}  // namespace

void KLCampaignManager::showCampaign(const std::shared_ptr<KLCampaign>& campaign) const {
  if (auto* resolver = resolverFor(resolvers_, *campaign)) resolver->reachCampaign(campaign);
}

void KLCampaignManager::showTestCampaign(const std::shared_ptr<KLCampaign>& campaign) const {
  if (auto* resolver = resolverFor(resolvers_, *campaign)) resolver->reachTestCampaign(campaign);
}

}  // namespace kaleo
