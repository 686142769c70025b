#pragma once

#include <optional>
#include <string>

#include "Core/Model/KLRepeatDisplay.h"
#include "Core/Utils/KLDateUtilities.h"

namespace kaleo::tools {

/// How a plan's display times stand at one moment, as the library itself would find them. Instants are seconds since 1970.
struct DisplayTimes {
  bool isOpen = false;
  std::optional<double> closesAt = {};  ///< the last instant of the present stretch; nothing: not within a week
  std::optional<double> opensAt = {};   ///< where they are closed: the next beginning; nothing: never
};

DisplayTimes displayTimesAt(const KLRepeatDisplay& rule, const KLPlanTime& time);
/// "every day 19:00 to 23:30", "Sun 09:00 to 12:00, Sat 10:00 to 12:00". Ranges that are never in force are left out: "" when all
/// are. Printable.
std::string textOf(const KLRepeatDisplay& rule);

}  // namespace kaleo::tools
