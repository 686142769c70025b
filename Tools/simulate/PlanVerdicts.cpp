#include "simulate/PlanVerdicts.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"

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

/// As PlanVerdict has them.
KLValue::Array valuesOf(const DecisionRecord& record) {
  constexpr double kMillisecondsPerSecond = 1000;
  const auto value = [&record](std::string_view key) {
    const KLValue* const found = record.content.find(key);
    return found ? *found : KLValue();
  };
  const auto seconds = [&record](std::string_view key) {
    return KLValue(quillon_doubleValue(record.content.find(key)) / kMillisecondsPerSecond);
  };
  switch (record.state) {
    case KLDiagnosisState::NotConverted:
    case KLDiagnosisState::PlanInterval:
      return {seconds(kQuillonDiagnosticInfoKeyWindowEnd)};
    case KLDiagnosisState::GlobalInterval:
      return {seconds(kQuillonDiagnosticInfoKeyWindowEnd), value("last_campaign_id")};
    case KLDiagnosisState::Pattern:
      if (!record.content.find("current_count")) return {};
      return {value("current_count"), value("campaign_count")};
    case KLDiagnosisState::GlobalLimit:
      return {seconds(kQuillonDiagnosticInfoKeyWindowStart), value("current_campaign_count"), value("global limit count")};
    case KLDiagnosisState::ReEnterLimit:
      return {seconds(kQuillonDiagnosticInfoKeyWindowEnd), value("current_campaign_count"), value("reEnter_limit_count")};
    case KLDiagnosisState::LowerPriority:
      return {value("trigger_campaign_id")};
    default:
      return {};
  }
}

}  // namespace

PlanVerdicts::PlanVerdicts(const KLPlanManager& plans, const std::string& event, double now) {
  for (const auto& plan : plans.plansForEvent(event)) {
    const Verdict verdict = plan->planModel().isExpired(now)                               ? Verdict::Expired
                            : plan->planModel().repeatDisplay && !plan->isInDisplayCycle() ? Verdict::DisplayTime
                                                                                           : Verdict::Pattern;
    const bool neverFires = verdict == Verdict::Pattern && plan->planModel().patternPopup.isUnsupported();
    unrecorded_.push_back({plan->planId(), verdict, neverFires ? KLValue::Array{"AND"} : KLValue::Array{}});
  }
}

std::vector<PlanVerdict> PlanVerdicts::after(const DecisionRecords& records) const {
  std::vector<PlanVerdict> verdicts = unrecorded_;
  for (const auto& record : records) {
    const auto of = std::ranges::find(verdicts, record.entityId.value_or(""), &PlanVerdict::planKey);
    if (of == verdicts.end()) continue;
    const Verdict verdict = verdictOf(record.state);
    KLValue::Array values = valuesOf(record);
    // Each matcher of a pattern may write a record: one that counted says more than one that did not.
    if (verdict == Verdict::Pattern && values.empty() && of->verdict == verdict) continue;
    // A record of the pattern is followed by that of a later check, where the event gets that far.
    of->verdict = verdict;
    of->values = std::move(values);
  }
  return verdicts;
}

}  // namespace kaleo::tools
