#include "Core/Base/Campaign/KLCampaignManager.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

struct Resolver : KLCampaignResolver {
  explicit Resolver(int type) : acceptedType(type) {}
  void reachCampaign(std::shared_ptr<KLCampaign> campaign) override { reached.push_back(std::move(campaign)); }
  void reachTestCampaign(std::shared_ptr<KLCampaign> campaign) override { tested.push_back(std::move(campaign)); }
  bool canReachCampaign(const KLCampaign& campaign) const override { return campaign.type == acceptedType; }

  int acceptedType;
  std::vector<std::shared_ptr<KLCampaign>> reached, tested;
};

std::shared_ptr<KLCampaign> campaign(const char* type) {
  return std::make_shared<KLCampaign>("1", "name", "uuid", KLValue(KLObject{{"popup_type", type}}));
}

TEST(KLCampaignManagerTest, TheFirstResolverThatAcceptsGetsTheCampaign) {
  const auto first = std::make_shared<Resolver>(KLCampaign::kTypeCustomized);
  const auto second = std::make_shared<Resolver>(KLCampaign::kTypePopup);
  const auto third = std::make_shared<Resolver>(KLCampaign::kTypePopup);
  const KLCampaignManager manager({first, second, third});
  const auto popup = campaign("POPUP");
  const auto custom = campaign("CUSTOMIZED");
  manager.showCampaign(popup);
  manager.showTestCampaign(custom);
  EXPECT_EQ(second->reached, std::vector{popup});
  EXPECT_EQ(first->tested, std::vector{custom});
  EXPECT_TRUE(first->reached.empty() && third->reached.empty() && second->tested.empty());
}

TEST(KLCampaignManagerTest, WithoutSuchAResolverNothingHappens) {
  const auto none = std::make_shared<KLCampaignResolver>();
  const KLCampaignManager manager({none});
  EXPECT_NO_THROW(manager.showCampaign(campaign("POPUP")));
  EXPECT_NO_THROW(KLCampaignManager({}).showTestCampaign(campaign("POPUP")));
}

}  // namespace
}  // namespace kaleo
