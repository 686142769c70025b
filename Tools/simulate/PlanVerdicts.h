#pragma once

#include <string>
#include <vector>

#include "Core/Window/KLPlanManager.h"
#include "host/DecisionRecorder.h"
#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// What became of an event at a plan that listens to it, in the order of the checks.
enum class Verdict {
  Expired,
  DisplayTime,
  ConvertWindow,
  GlobalInterval,
  PlanInterval,
  Pattern,
  GlobalLimit,
  ReEntry,
  Inhibited,
  Shown,
};
inline constexpr std::size_t kVerdicts = 10;

struct PlanVerdict {
  std::string planKey;
  Verdict verdict;
  /// What the check compared; times in seconds since 1970, plans by key.
  /// ConvertWindow, PlanInterval: end of the window. GlobalInterval: its end, the plan of the last popup (may be null).
  /// Pattern: events counted, events needed; "AND" where that joins the matchers, which never fires; else nothing, as other events
  /// or properties are asked for.
  /// GlobalLimit: start of the window, popups, limit. ReEntry: end of the window, popups, limit. Inhibited: the plan that showed.
  KLValue::Array values = {};
};

/// Finds the verdicts on one event: from the records of the checks that write some, and, for those that write none, by asking the
/// plan beforehand. Asking changes nothing that the event would not change itself.
class PlanVerdicts {
 public:
  /// Before the event, at its time.
  PlanVerdicts(const KLPlanManager& plans, const std::string& event, double now);
  /// After it. In serving order.
  std::vector<PlanVerdict> after(const DecisionRecords& records) const;

 private:
  /// Of each plan: what it comes to when no record says more.
  std::vector<PlanVerdict> unrecorded_;
};

}  // namespace kaleo::tools
