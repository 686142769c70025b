#pragma once

#include <optional>
#include <string>
#include <vector>

#include "inspect/StoredState.h"

namespace kaleo::tools {

/// One of a plan's windows, of whatever kind, as tables and documents list it.
struct ListedWindow {
  enum class Kind { Trigger, Convert, ReEntry, Interval };

  Kind kind;
  /// When false there is nothing but the reason: locked or damaged.
  bool isReadable = true;
  bool isLocked = false;
  std::optional<std::size_t> matcher = {};  ///< of a trigger window: its index
  std::optional<std::string> event = {};    ///< of a trigger window: the matcher's event, where the configuration has it
  KLPlanAbstractWindow span = {};
  std::optional<std::int64_t> count = {};  ///< events or popups
  std::optional<std::int64_t> limit = {};  ///< how many are needed, or allowed, where the configuration says
  std::string uuid = {};                   ///< of a convert window: the display that is waited for
};

/// "trigger", "convert", "re_entry" or "interval".
const char* nameOf(ListedWindow::Kind kind);

/// The windows that `plan` has. `model` may be null: the configuration does not know the plan.
std::vector<ListedWindow> windowsOf(const StoredPlan& plan, const KLPopupPlanModel* model);

}  // namespace kaleo::tools
