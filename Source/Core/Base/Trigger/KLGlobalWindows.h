#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Core/Base/Trigger/KLTriggerSurroundings.h"
#include "Core/Model/KLPlanWindows.h"
#include "Core/Model/KLPopupConfig.h"

namespace kaleo {

/// The windows that all plans of a user share: the quiet period after any popup, and the times of the popups shown.
/// Threads: the trigger queue.
class KLGlobalWindows {
 public:
  explicit KLGlobalWindows(const KLTriggerSurroundings& surroundings) : around_(surroundings) {}

  const std::optional<KLPopupGlobalIntervalWindow>& globalIntervalWindow() const { return globalIntervalWindow_; }
  /// Starts the quiet period of `config` now, and stores it.
  void createGlobalIntervalWindow(const KLPopupConfig& config);
  void deleteGlobalIntervalWindow();
  /// Takes the stored quiet period of the present user; keeps the one in memory when none can be read.
  void loadGlobalWindow();

  /// When popups were shown to the present user, seconds since 1970, read from the store.
  KLValue::Array loadGlobalPopupTimeIntervals() const;
  /// Those at or after the start of `window`.
  KLValue::Array popupIntervalsInLimitWindow(const KLPlanWindow& window) const;
  std::size_t popupCountInLimitWindow(const KLPlanWindow& window) const { return popupIntervalsInLimitWindow(window).size(); }
  /// Adds now to the stored times.
  void saveGlobalPopupData();

 private:
  void saveGlobalIntervalWindow();

  const KLTriggerSurroundings& around_;
  std::optional<KLPopupGlobalIntervalWindow> globalIntervalWindow_;
};

}  // namespace kaleo
