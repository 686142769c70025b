#include "simulate/PlanVerdicts.h"

#include <algorithm>

namespace kaleo::tools {
namespace {

Verdict verdictOf(KLDiagnosisState state) {
  switch (state) {
    case KLDiagnosisState::NotConverted:
      return Verdict::ConvertWindow;
    case KLDiagnosisState::GlobalInterval:
      return Verdict::GlobalInterval;
    case KLDiagnosisState::PlanInterval:
      return Verdict::PlanInterval;
    case KLDiagnosisState::GlobalLimit:
      return Verdict::GlobalLimit;
    case KLDiagnosisState::ReEnterLimit:
      return Verdict::ReEntry;
    case KLDiagnosisState::LowerPriority:
      return Verdict::Inhibited;
    case KLDiagnosisState::Finished:
      return Verdict::Shown;
    default:
      return Verdict::Pattern;
  }
}

}  // namespace

PlanVerdicts::PlanVerdicts(const KLPlanManager& plans, const std::string& event, double now) {
  for (const auto& plan : plans.plansForEvent(event)) {
    const Verdict verdict = plan->planModel().isExpired(now)                               ? Verdict::Expired
                            : plan->planModel().repeatDisplay && !plan->isInDisplayCycle() ? Verdict::DisplayTime
                                                                                           : Verdict::Pattern;
    unrecorded_.push_back({plan->planId(), verdict});
  }
}

std::vector<PlanVerdict> PlanVerdicts::after(const DecisionRecords& records) const {
  std::vector<PlanVerdict> verdicts = unrecorded_;
  for (const auto& record : records) {
    const auto of = std::ranges::find(verdicts, record.entityId.value_or(""), &PlanVerdict::planKey);
    // A record of the pattern is followed by that of a later check, where the event gets that far.
    if (of != verdicts.end()) of->verdict = verdictOf(record.state);
  }
  return verdicts;
}

}  // namespace kaleo::tools
