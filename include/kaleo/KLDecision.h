#pragma once

#include <cstdint>
#include <string>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Why a record was written.
enum class KLDiagnosisState : int {
  ConfigFetched = 1,
  PlanFiltered = 2,
  NotConverted = 3,
  GlobalInterval = 4,
  PlanInterval = 5,
  Pattern = 6,
  GlobalLimit = 7,
  ReEnterLimit = 8,
  LowerPriority = 9,
  Finished = 10,
};

/// What kind of step a record belongs to.
enum class KLDiagnosisType : int { Config = 0, Trigger = 1 };

/// What decisions that were made together have in common. Cheap to copy: texts and lists are shared. A null value: there is none.
struct KALEO_API KLDecisionContext {
  double time = 0;         ///< when they were made, in seconds since 1970; 0: now
  KLValue event;           ///< the record of the event that was decided about, as the host made it
  KLValue lastCampaignId;  ///< where a quiet period after any popup refused: the plan whose popup it follows, a text
  KLValue displayTimes;    ///< where a global limit refused: when popups were shown, an array in seconds since 1970

  /// Name of the event; "" when there is no event.
  std::string eventName() const;
};

/// A decision about a plan, in plain numbers: what its record says, before the record is built. Cheap to make and to copy, and a
/// snapshot: nothing it stands for changes afterwards. Numbers that a kind does not name are 0.
struct KALEO_API KLDecision {
  enum class Kind : std::uint8_t {
    Expired,          ///< left out of the plans that may run, as are the next two
    NotActive,        ///<
    NotAudience,      ///<
    NotConverted,     ///< refused by the convert window, which runs from `windowStart` to `windowEnd`
    GlobalInterval,   ///< refused by the quiet period after any popup: `windowStart`, `windowEnd`
    PlanInterval,     ///< refused by the plan's own quiet period: `windowStart`, `windowEnd`
    PropertiesCheck,  ///< a matcher did not match; its trigger window, if it has one: `windowStart`, `windowEnd`
    TriggerCount,     ///< a matcher counted `count` events of the `limit` that it needs, within `windowStart` and `windowEnd`
    GlobalLimit,      ///< refused by a cap on all popups: `count` shown since `windowStart`, `limit` allowed
    ReEnterLimit,     ///< refused by re-entry: `count` shown from `windowStart` to `windowEnd`, `limit` allowed
    LowerPriority,    ///< gave way to the plan `chosenPlanID`: `priority`, `chosenPriority`
    Finished,         ///< its popup is handed on to be shown
  };

  Kind kind = Kind::Expired;
  std::int64_t planID = 0;
  double windowStart = 0, windowEnd = 0;  ///< seconds since 1970
  std::int64_t count = 0, limit = 0;
  std::int64_t priority = 0, chosenPlanID = 0, chosenPriority = 0;

  KLDiagnosisState state() const;
  KLDiagnosisType type() const;
  /// Builds the record's content: an object with at least kQuillonDiagnosticInfoKeyMessage. Times in it are whole milliseconds
  /// since 1970, plan ids are texts. `context`: the one that the decision came with. Threads: any.
  KLValue content(const KLDecisionContext& context) const;
};

}  // namespace kaleo
