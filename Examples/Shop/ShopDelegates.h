#pragma once

#include <kaleo/KLDelegates.h>

#include <functional>
#include <string>

namespace shop {

/// The shop's side of the campaigns' life: shows customised ones itself, and hears of all others.
/// Threads: main.
class ShopDelegates final : public kaleo::KLPopupDelegate, public kaleo::KLCampaignDelegate {
 public:
  struct Handlers {
    /// A customised campaign began; its own content.
    std::function<void(const std::string& content)> showCustomized;
    /// A link was tapped.
    std::function<void(const std::string& url)> openLink;
    /// One line for each thing that happens, such as "popup 101 is on screen".
    std::function<void(const std::string& what)> note;
  };

  explicit ShopDelegates(Handlers handlers) : handlers_(std::move(handlers)) {}

  void popupLoadSuccessWithPlanID(const std::string& planID) override;
  void popupLoadFailedWithPlanID(const std::string& planID, const kaleo::KLError& error) override;
  void popupDidCloseWithPlanID(const std::string& planID) override;
  void campaignDidStart(const kaleo::KLCampaign& campaign) override;
  void campaignDidClick(const kaleo::KLCampaign& campaign) override;
  void campaignFailed(const kaleo::KLCampaign& campaign, const kaleo::KLError& error) override;

 private:
  const Handlers handlers_;
};

}  // namespace shop
