#pragma once

#include <functional>
#include <string>

#include "kaleo/KLDelegates.h"

namespace kaleo::tools {

/// What the application does with the library's callbacks.
enum class DelegateMode {
  Full,    ///< implements every one
  Refuse,  ///< refuses every campaign in `campaignShouldStart`
  None,    ///< implements none
};

/// The application's side of the library: prints what popups do, and, as far as the application implements them, the callbacks.
/// Threads: the main thread.
class RunDelegates final : public KLPopupDelegate, public KLCampaignDelegate {
 public:
  using Print = std::function<void(KLObject line)>;
  using Elements = std::function<KLValue(const KLCampaign&)>;

  RunDelegates(DelegateMode mode, Print print, Elements elements)
      : mode_(mode), print_(std::move(print)), elements_(std::move(elements)) {}

  void popupLoadSuccessWithPlanID(const std::string& planID) override;
  void popupLoadFailedWithPlanID(const std::string& planID, const KLError& error) override;
  void popupDidClickWithPlanID(const std::string& planID, const KaleoActionModel& action) override;
  void popupDidCloseWithPlanID(const std::string& planID) override;

  bool implementsCampaignShouldStart() const override { return mode_ != DelegateMode::None; }
  bool implementsCampaignDidStart() const override { return mode_ != DelegateMode::None; }
  bool campaignShouldStart(const KLCampaign& campaign) override;
  void campaignDidStart(const KLCampaign& campaign) override;
  void campaignDidClick(const KLCampaign& campaign) override;
  void campaignDidEnd(const KLCampaign& campaign) override;
  void campaignFailed(const KLCampaign& campaign, const KLError& error) override;

 private:
  void printCallback(const char* name, KLObject arguments);
  void printFailure(const KLValue& planID, const KLError& error);

  const DelegateMode mode_;
  const Print print_;
  const Elements elements_;
};

}  // namespace kaleo::tools
