#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "Core/Base/Trigger/KLConvertResults.h"
#include "Core/Base/Trigger/KLGlobalWindows.h"
#include "Core/Base/Trigger/KLPlanChecks.h"
#include "Core/Base/Trigger/KLPopupWait.h"
#include "Core/Base/Trigger/KLTriggerSurroundings.h"
#include "Core/Model/KLEventName.h"
#include "Core/Window/KLPlanManager.h"

namespace kaleo {

/// Decides, for each event of the host, whether a popup plan fires and which; hands the popup to presentation and holds its worker
/// until the popup is gone, so that quiet periods begin when it is dismissed and no second popup can start meanwhile.
///
/// Threads: the trigger queue, which blocks while a popup is on screen, unless a member says otherwise; the two campaign
/// notifications come from any thread.
class KLTrigger {
 public:
  explicit KLTrigger(KLTriggerSurroundings surroundings);
  ~KLTrigger();
  KLTrigger(const KLTrigger&) = delete;
  KLTrigger& operator=(const KLTrigger&) = delete;

  /// Runs an event record through the plans. `triggerTime`: when its turn has come, seconds since 1970.
  void triggerEvent(KLValue record, double triggerTime);
  /// Whether any of the plans (null: there are none) listens to an event of that name. The log hears of the event, and of a no.
  static bool shouldHandleEvent(const KLEventName& name, const KLPlanManager* plans, const KLLog& log);
  /// Installs a configuration. The plans of the one before cannot fire any more.
  void setPopupConfig(std::shared_ptr<const KLPopupConfig> config);
  /// Takes all plans out of memory; the rest of the configuration stays.
  void removePlans();

  const std::shared_ptr<const KLPopupConfig>& popupConfig() const { return popupConfig_; }
  KLPlanManager& planManager() { return planManager_; }
  const KLGlobalWindows& globalWindows() const { return globalWindows_; }
  KLConvertResults& convertResults() { return *convertResults_; }

  /// The plan in force with that id in decimal; null when there is none. Any thread.
  std::shared_ptr<const KLPopupPlanModel> planWithIdentifier(const std::string& planID) const;

  /// Whether any plan of the configuration in force listens to that event. Any thread.
  bool isNeededEvent(std::string_view name) const;

  /// Notes what became of the popup that is waited for. Any thread.
  void noteOutcome(KLPopupOutcome outcome) { popup_->add(std::move(outcome)); }
  /// Records what has been noted since. While a popup is waited for, the wait does that by itself.
  void recordOutcomes();

  /// Lets a waiting worker go and makes every later event pass without effect. Any thread.
  void stop();

 private:
  void handleEvent(KLValue& record, std::string_view name);
  /// Runs the event through its listeners in serving order; the first that may fire becomes triggledPlan_.
  void checkPlans(const KLValue& record, KLPlanManager::Listeners& listeners, double now);
  /// All checks of one plan, in their order; answers whether it may fire. `place`: the plan's in `matchers`.
  bool satisfiesRules(const KLValue& record, KLPopupPlan& plan, KLMatcherTable& matchers, std::size_t place);
  void inhibit(const KLPopupPlan& plan);
  void showPopupForPlan(KLPopupPlan& plan);
  void stampWindows(KLPopupPlan& plan, const std::string& uuid);
  void createIntervalWindows(KLPopupPlan& plan);
  void countReEntry(KLPopupPlan& plan);
  void present(const KLPopupPlan& plan, const std::string& uuid, KLShowCampaign show);
  void waitForDismissal(KLPopupPlan& plan);
  void wakeUp(const char* message);
  void record(const KLPopupOutcome& outcome);

  KLTriggerSurroundings around_;
  const std::shared_ptr<KLPopupWait> popup_;  ///< ended: no popup is waited for (`shouldWait` is off)
  std::atomic<bool> stopped_{false};
  KLPlanManager planManager_;
  KLGlobalWindows globalWindows_;
  std::shared_ptr<KLConvertResults> convertResults_;
  KLPlanChecks checks_;
  std::shared_ptr<const KLPopupConfig> popupConfig_;
  std::shared_ptr<KLPopupPlan> triggledPlan_;  ///< chosen for the event under way
  double triggerTime_ = 0;
  KLNotificationCenter::Token didEnd_ = 0, didFail_ = 0;

  /// What other threads may know of the plans in force. Only ever looked up under the lock, and swapped, so that no other thread
  /// has to take an old one down.
  struct Published {
    std::map<std::string, std::shared_ptr<const KLPopupPlanModel>, std::less<>> plans;  ///< by plan id
    KLPlanManager::EventSet neededEvents;
  };
  mutable std::mutex publishedMutex_;
  Published published_;  ///< guarded by publishedMutex_
};

}  // namespace kaleo
