#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Core/Model/KLPopupConfig.h"
#include "Core/Utils/KLDateUtilities.h"
#include "inspect/StoredState.h"

namespace kaleo::tools {

/// A rule that keeps a plan's popup from showing. In the order in which the library asks them.
enum class HoldReason {
  Expired,
  NotActive,
  NotAudience,
  DisplayTime,
  ConvertWindow,  ///< unless the host has been told that the popup converted, which the database does not hold
  GlobalInterval,
  PlanInterval,
  NeverMatches,  ///< matchers joined by AND
  GlobalLimit,
  ReEntry,
  ControlGroup,  ///< passes every rule and is counted, but its popup is not shown
};

/// Such as "re_entry".
const char* nameOf(HoldReason reason);

struct Hold {
  HoldReason reason;
  std::optional<double> until = {};   ///< when the rule lets go by itself, seconds since 1970; nothing: never
  std::int64_t count = 0, limit = 0;  ///< popups shown and allowed, of the limits
};

/// What holds `plan` of the configuration back at the time of `time`, whatever event comes. `windows` may be null: the plan has
/// none.
std::vector<Hold> holdsOf(const KLPopupPlanModel& plan, const StoredUser& user, const StoredPlan* windows, const KLPlanTime& time);

/// The stretch in which `limit` counts popups, as of now, and how many of `displays` lie in it.
struct LimitUse {
  KLPlanLimitWindow window;
  std::int64_t count = 0;
  std::optional<double> freeAt = {};  ///< when one more may be shown, if `limit` is reached and ever frees; seconds since 1970
};
LimitUse useOfLimit(const KLPlanLimitModel& limit, const std::vector<double>& displays, const KLPlanTime& time);

}  // namespace kaleo::tools
