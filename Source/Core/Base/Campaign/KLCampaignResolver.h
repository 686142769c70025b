#pragma once

#include <memory>

#include "kaleo/KLCampaign.h"

namespace kaleo {

/// Turns campaigns into something seen: the base of all resolvers.
/// Threads: called on the background queue; a resolver moves to its own queues itself.
class KLCampaignResolver {
 public:
  virtual ~KLCampaignResolver() = default;
  /// Shows the campaign. Exactly one of the notifications "KaleoCampaignDidEndNotification" and
  /// "KaleoCampaignDidFailedNotification" follows, unless the campaign is dropped because another one is shown.
  virtual void reachCampaign(std::shared_ptr<KLCampaign> campaign) { (void)campaign; }
  /// Shows a test popup, outside all rules.
  virtual void reachTestCampaign(std::shared_ptr<KLCampaign> campaign) { (void)campaign; }
  virtual bool canReachCampaign(const KLCampaign& campaign) const { return (void)campaign, false; }
};

}  // namespace kaleo
