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
  /// Takes the stored quiet period of the present user; keeps the one in memory when none can be read. The store may have been
  /// changed in other ways: the display times are read anew when they are next needed.
  void loadGlobalWindow();

  /// When popups were shown to the present user, seconds since 1970, in the order of showing. Read from the store once, then kept
  /// until the user changes or `loadGlobalWindow` is called. All of them count: a configuration to come may limit any stretch of
  /// time, and the clock may be set back.
  /// An array, of which a copy stays as it is.
  const KLValue& loadGlobalPopupTimeIntervals();
  /// The number of those at or after the start of `window`, which the log is told.
  std::size_t popupCountInLimitWindow(const KLPlanWindow& window);
  /// Adds now to the times, and stores them.
  void saveGlobalPopupData();

 private:
  struct DisplayTimes {
    std::string userId;
    KLValue times;               ///< an array, as stored
    std::vector<double> sorted;  ///< the same as numbers, in the order of time: what is asked for each limit, plan and event
  };

  void saveGlobalIntervalWindow();
  /// Those of the present user.
  DisplayTimes& displayTimes();

  const KLTriggerSurroundings& around_;
  std::optional<KLPopupGlobalIntervalWindow> globalIntervalWindow_;
  std::optional<DisplayTimes> displayTimes_;  ///< as last read; nothing: they are to be read
};

}  // namespace kaleo
