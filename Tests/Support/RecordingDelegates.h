#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "kaleo/KLDelegates.h"

namespace kaleo::testing {

/// Both delegates of an application, keeping what they are told as "callback plan" and letting a test wait for it.
class RecordingDelegates : public KLPopupDelegate, public KLCampaignDelegate {
 public:
  void popupLoadSuccessWithPlanID(const std::string& planID) override { add("popupLoadSuccess " + planID); }
  void popupLoadFailedWithPlanID(const std::string& planID, const KLError& error) override {
    add("popupLoadFailed " + planID + " " + std::to_string(error.code));
  }
  void popupDidClickWithPlanID(const std::string& planID, const KaleoActionModel&) override { add("popupDidClick " + planID); }
  void popupDidCloseWithPlanID(const std::string& planID) override { add("popupDidClose " + planID); }

  bool campaignShouldStart(const KLCampaign& campaign) override {
    add("campaignShouldStart " + name(campaign));
    return admits;
  }
  void campaignDidStart(const KLCampaign& campaign) override { add("campaignDidStart " + name(campaign)); }
  void campaignDidClick(const KLCampaign& campaign) override { add("campaignDidClick " + name(campaign)); }
  void campaignDidEnd(const KLCampaign& campaign) override { add("campaignDidEnd " + name(campaign)); }
  void campaignFailed(const KLCampaign& campaign, const KLError& error) override {
    add("campaignFailed " + name(campaign) + " " + std::to_string(error.code));
  }

  std::vector<std::string> calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
  }
  /// Waits until `call` has come `times` times; false after 20 seconds.
  bool waitFor(const std::string& call, int times = 1) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20),
                             [&] { return std::count(calls_.begin(), calls_.end(), call) >= times; });
  }

  bool admits = true;

 private:
  static std::string name(const KLCampaign& campaign) { return campaign.planID.value_or("-"); }
  void add(std::string call) {
    std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
    changed_.notify_all();
  }

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<std::string> calls_;  ///< guarded by mutex_
};

}  // namespace kaleo::testing
