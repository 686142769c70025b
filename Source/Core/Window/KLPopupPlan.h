#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Model/KLMatcherTable.h"
#include "Core/Model/KLPlanWindows.h"
#include "Core/Model/KLPopupPlanModel.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Utils/KLDateUtilities.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What plans at work stand on. Lifetime: borrowed, outlives the plans.
struct KLPopupPlanSurroundings {
  const KLLog& log;
  KaleoDataStore& dataStore;
  KLDiagnosisSlot& diagnosis;
  const KLStoreManager& hostStore;
  KLPlanTime time;
  const KLCurrentUser& currentUser;
};

/// One plan at work: its windows, kept for the current user in the data store, and the verdict on each event.
///
/// A window that is changed is saved at once, under the user of that moment. A window that the store does not have leaves the one
/// in memory as it is. Threads: the trigger queue. Lifetime: shares the model, borrows the surroundings.
class KLPopupPlan {
 public:
  /// `planModel` is not null.
  KLPopupPlan(std::shared_ptr<const KLPopupPlanModel> planModel, const KLPopupPlanSurroundings& surroundings);
  KLPopupPlan(const KLPopupPlan&) = delete;
  KLPopupPlan& operator=(const KLPopupPlan&) = delete;

  const KLPopupPlanModel& planModel() const { return *planModel_; }
  const std::shared_ptr<const KLPopupPlanModel>& sharedPlanModel() const { return planModel_; }
  /// The plan key: the id in decimal.
  const std::string& planId() const { return planModel_->planKey(); }

  const std::optional<KLPopupConvertWindow>& convertWindow() const { return convertWindow_; }
  const std::optional<KLPopupIntervalWindow>& popupIntervalWindow() const { return popupIntervalWindow_; }
  const std::optional<KLPopupReEnterWindow>& reEnterWindow() const { return reEnterWindow_; }
  /// For who counts in it: call `saveReEnter` afterwards.
  std::optional<KLPopupReEnterWindow>& reEnterWindow() { return reEnterWindow_; }
  const KLTriggerWindows& triggerWindows() const { return triggerWindows_; }
  /// The window of the matcher whose index is `key` in decimal; null when there is none.
  const KLPopupTriggerWindow* triggerWindowForKey(std::string_view key) const;

  /// Restores the windows, by four reads of the data store.
  void loadPlan();
  /// Restores the windows from what one query for all plans has read.
  void loadPlan(const KaleoDataStore::PlanWindows& stored);

  /// Counts the event in the windows of all matchers that it matches; true when one of them has counted enough.
  bool patternMatchWithEvent(const KLValue& event);
  /// The same by a table that has turned to the event and holds this plan's pattern at place `plan`.
  bool patternMatchWithEvent(const KLValue& event, KLMatcherTable& table, std::size_t plan);
  /// Has the processor fetch the windows that a match will look at, while other checks keep it busy.
  void prefetchTriggerWindows() const {
    if (triggerWindows_.empty()) return;
    __builtin_prefetch(&*triggerWindows_.begin());
    __builtin_prefetch(&triggerWindows_.begin()->second.endTime);
  }
  /// Whether the plan's display times, if it has any, allow a popup now.
  bool isInDisplayCycle();
  /// Whether the host's store has a result that says that the convert window's popup converted; false without such a window.
  bool isConverted() const;

  /// The new window; the caller saves it.
  KLPopupTriggerWindow& createTriggerWindow(const KLPlanPopupMatcher& matcher, std::size_t index);
  void saveTriggerWindow(const KLPopupTriggerWindow& window, std::size_t index);
  void deleteTriggerWindows();
  void createConvertWindow(const std::string& popupUUID);
  /// Fits the end of the stored convert window to the model's present length; keeps its start.
  void updateConvertWindow();
  void saveConvertWindow();
  void deleteConvertWindow();
  void createIntervalWindow();
  void saveIntervalWindow();
  void deleteIntervalWindow();
  void createReEnter();
  void saveReEnter();
  void deleteReEnter();
  /// Deletes all windows.
  void deletePlan();
  /// Resets windows by their kinds: "all_window" and "trigger_window" are deleted, "convert_window" is updated, others are ignored.
  void updatePlanWindows(const std::vector<std::string>& windowKinds);

 private:
  using Kind = KLDatabaseProperName;

  void logLoad() const;
  void restoreWindows(const KaleoDataStore::PlanWindows& stored);
  /// `name`: the event's. `isMatched`: whether the matcher at that index matches the event.
  template <class IsMatched>
  bool matchPattern(const KLValue& event, std::string_view name, IsMatched&& isMatched);
  template <class IsMatched>
  bool countEventInMatchers(IsMatched&& isMatched);
  /// Whether the event counted often enough for `matcher`.
  bool countEvent(const KLPlanPopupMatcher& matcher, std::size_t index);
  void logTriggerWindowSave(const KLPopupTriggerWindow& window, std::size_t index) const;
  void storeTriggerWindows();
  void recordPropertiesCheck(std::size_t index) const;
  void recordTriggerCount(const KLPopupTriggerWindow& window, std::int64_t needed) const;
  std::optional<KLBytes> read(Kind kind) const;
  void save(std::optional<KLBytes> data, Kind kind);

  const std::shared_ptr<const KLPopupPlanModel> planModel_;
  const KLPopupPlanSurroundings surroundings_;
  std::optional<KLRepeatDisplay> repeatDisplay_;  ///< the model's rule with this plan's own ranges
  std::optional<KLPopupConvertWindow> convertWindow_;
  std::optional<KLPopupIntervalWindow> popupIntervalWindow_;
  std::optional<KLPopupReEnterWindow> reEnterWindow_;
  KLTriggerWindows triggerWindows_;
};

}  // namespace kaleo
