#pragma once

#include <memory>
#include <vector>

#include "Core/Base/Campaign/KLCampaignResolver.h"

namespace kaleo {

/// Gives each campaign to the first resolver, in order of preference, that accepts it.
/// Threads: any, once made.
class KLCampaignManager {
 public:
  explicit KLCampaignManager(std::vector<std::shared_ptr<KLCampaignResolver>> resolvers) : resolvers_(std::move(resolvers)) {}

  /// When no resolver accepts it, nothing is shown and nothing is posted.
  void showCampaign(const std::shared_ptr<KLCampaign>& campaign) const;
  void showTestCampaign(const std::shared_ptr<KLCampaign>& campaign) const;

 private:
  std::vector<std::shared_ptr<KLCampaignResolver>> resolvers_;
};

}  // namespace kaleo
