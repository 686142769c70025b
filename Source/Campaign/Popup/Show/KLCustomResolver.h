#pragma once

#include <memory>
#include <optional>

#include "Campaign/Popup/Show/KLCampaignStage.h"
#include "Core/Base/Campaign/KLCampaignPlanEvent.h"
#include "Core/Base/Campaign/KLCampaignResolver.h"
#include "kaleo/KLError.h"

namespace kaleo {

/// Hands customised campaigns to the application. They count as ended as soon as they are handed over.
/// Threads: any; the destructor not on the resolver's own queue.
class KLCustomResolver final : public KLCampaignResolver {
 public:
  explicit KLCustomResolver(const KLCampaignSurroundings& surroundings);
  ~KLCustomResolver() override { stage_.close(); }

  void reachCampaign(std::shared_ptr<KLCampaign> campaign) override;
  void reachTestCampaign(std::shared_ptr<KLCampaign> campaign) override;
  bool canReachCampaign(const KLCampaign& campaign) const override;

 private:
  using Campaign = std::shared_ptr<KLCampaign>;

  void show(const Campaign& campaign);
  void showTest(const Campaign& campaign);
  /// Why the plan or the application keeps the campaign back; nothing when they do not.
  std::optional<KLError> refusal(const Campaign& campaign, const KLCampaignPlanEvent& event);
  /// Why the campaign cannot be handed over; nothing when it can.
  std::optional<KLError> obstacle(const KLCampaign& campaign);
  /// Hands the campaign over; false when that failed.
  bool handOver(const Campaign& campaign, const KLCampaignPlanEvent& event);
  void loadFailedWithCampaign(const Campaign& campaign, const KLCampaignPlanEvent& event, const KLError& error);

  KLCampaignStage stage_;
};

}  // namespace kaleo
