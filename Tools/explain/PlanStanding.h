#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Core/Model/KLPopupPlanModel.h"
#include "Core/Utils/KLDateUtilities.h"
#include "rules/DisplayTimes.h"
#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {

/// What was recorded of an event near a plan.
struct EventUse {
  std::size_t count = 0;
  double last = 0;  ///< seconds since 1970
};

/// What the configuration says of a plan beyond what its records tell: the events that it waits for, and the refusals that leave
/// no record, as they stand at the time of reading.
struct PlanStanding {
  struct Event {
    std::string name;
    std::int64_t needed = 0;      ///< how many in one window
    std::optional<EventUse> use;  ///< nothing: it is not known which events came near
  };

  double fetchedAt = 0;  ///< when that configuration was last fetched, seconds since 1970
  double recordsFrom = 0;
  std::vector<Event> events;
  bool neverMatches = false;                 ///< its matchers are joined by AND
  std::optional<DisplayTimes> displayTimes;  ///< nothing: at any time
  std::string displayRule;                   ///< in words; "": no time at all
  std::string permission;                    ///< what an event must meet, in words; "": nothing
  std::optional<double> expiresAt;           ///< seconds since 1970; nothing: it names no such time
  bool isExpired = false;
};

/// `uses`: what was recorded near the plan, by event name; null: records do not name events.
PlanStanding standingOf(const KLPopupPlanModel& plan, const std::map<std::string, EventUse>* uses, const KLPlanTime& time);

struct StandingSentence {
  std::string text;
  Tone tone = Tone::Plain;
};
/// The standing in plain sentences.
std::vector<StandingSentence> sentencesOf(const PlanStanding& standing, const TimeText& times);
KLValue documentOf(const PlanStanding& standing);

}  // namespace kaleo::tools
