#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "explain/JourneyRecords.h"
#include "explain/PlanStanding.h"
#include "explain/PopupDisplay.h"
#include "text/TimeText.h"

namespace kaleo::tools {

/// What happened to a plan, once or again and again without anything else between.
struct StoryEntry {
  double first = 0, last = 0;  ///< seconds since 1970
  std::size_t count = 1;
  KLDiagnosisState state = {};
  std::string sentence;
  KLValue content;                                 ///< of the last record
  std::map<std::string, std::size_t> events = {};  ///< how often by which event, as far as it is known
  std::optional<PopupDisplay> display = {};        ///< what became of the popup, where it passed every check
};

/// What became of a plan for a user.
struct PlanStory {
  StoredId planId, userId;
  std::string project;
  std::vector<StoredId> names;           ///< the user's distinct ids
  std::vector<StoryEntry> entries;       ///< the newest first
  std::optional<double> heldUntil;       ///< when the refusal that holds longest lets go, seconds since 1970
  std::string heldBy;                    ///< its sentence
  std::optional<PlanStanding> standing;  ///< nothing: the newest configuration does not have the plan, or cannot be read
};

struct StoryFilter {
  std::string plan, user;            ///< ids; empty: all
  std::optional<double> since = {};  ///< seconds since 1970
};

/// The stories in `records`, by user and plan, as of `times`, which is of the same moment as `time`.
std::vector<PlanStory> storiesIn(const JourneyRecords& records, const StoryFilter& filter, const TimeText& times,
                                 const KLPlanTime& time);

}  // namespace kaleo::tools
