#include <array>
#include <string>

#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "kaleo/KLDiagnosis.h"

namespace kaleo {
namespace {

using Kind = KLDecision::Kind;
using State = KLDiagnosisState;

/// What the records of one kind look like.
struct Form {
  const char* message;
  State state;
  bool hasWindow;
  bool namesPlan;  ///< in the content, too
};

/// By kind.
constexpr std::array kForms{
    Form{"expired campaign", State::PlanFiltered, false, false},
    Form{"not active", State::PlanFiltered, false, false},
    Form{"not audience", State::PlanFiltered, false, false},
    Form{"not converted", State::NotConverted, true, false},
    Form{"not meet time interval", State::GlobalInterval, true, false},
    Form{"not meet time interval", State::PlanInterval, true, true},
    Form{"not meet properties check", State::Pattern, true, true},
    Form{"not meet trigger count", State::Pattern, true, true},
    Form{"not meet global limit count", State::GlobalLimit, true, true},
    Form{"not meet reEnter limit count", State::ReEnterLimit, true, false},
    Form{"lower priority", State::LowerPriority, false, true},
    Form{"campaign finished", State::Finished, false, true},
};
static_assert(kForms.size() == static_cast<std::size_t>(Kind::Finished) + 1);

const Form& formOf(Kind kind) { return kForms[static_cast<std::size_t>(kind)]; }

KLValue::Array popupIntervalsInLimitWindow(const KLValue& times, double start) {
  KLValue::Array inside;
  for (const KLValue& time : times.asArray()) {
    if (quillon_doubleValue(&time) >= start) inside.push_back(time);
  }
  return inside;
}

void setUnlessNull(KLObject& content, const char* key, const KLValue& value) {
  if (!value.isNull()) content.set(key, value);
}

void setFromEvent(KLObject& content, const char* key, const KLValue& event) {
  if (const KLValue* const value = event.find(key)) setUnlessNull(content, key, *value);
}

void addComparedValues(KLObject& content, const KLDecision& decision, const KLDecisionContext& context) {
  switch (decision.kind) {
    case Kind::GlobalInterval:
      content.set("last_campaign_start_time", KLMilliseconds(decision.windowStart));
      setUnlessNull(content, "last_campaign_id", context.lastCampaignId);
      break;
    case Kind::PlanInterval:
      content.set("last_campaign_start_time", KLMilliseconds(decision.windowStart));
      break;
    case Kind::PropertiesCheck:
      setFromEvent(content, "track_id", context.event);
      setFromEvent(content, "_track_id", context.event);
      break;
    case Kind::TriggerCount:
      content.set("current_count", decision.count);
      content.set("campaign_count", decision.limit);
      break;
    case Kind::GlobalLimit:
      content.set("global limit count", decision.limit);
      content.set("current_campaign_count", decision.count);
      content.set("current_campaign_timestamp", popupIntervalsInLimitWindow(context.displayTimes, decision.windowStart));
      break;
    case Kind::ReEnterLimit:
      content.set("reEnter_limit_count", decision.limit);
      content.set("current_campaign_count", decision.count);
      break;
    case Kind::LowerPriority:
      content.set("priority", decision.priority);
      content.set(kQuillonDiagnosticInfoKeyCampaignId, std::to_string(decision.planID));
      content.set("trigger_campaign_id", std::to_string(decision.chosenPlanID));
      content.set("trigger_campaign_priority", decision.chosenPriority);
      break;
    default:
      break;
  }
}

}  // namespace

std::string KLDecisionContext::eventName() const { return quillon_stringValue(event.find("event")).value_or(""); }

KLDiagnosisState KLDecision::state() const { return formOf(kind).state; }

KLDiagnosisType KLDecision::type() const {
  return state() == State::PlanFiltered ? KLDiagnosisType::Config : KLDiagnosisType::Trigger;
}

KLValue KLDecision::content(const KLDecisionContext& context) const {
  const Form& form = formOf(kind);
  KLObject content{{kQuillonDiagnosticInfoKeyMessage, form.message}};
  if (form.hasWindow) {
    content.set(kQuillonDiagnosticInfoKeyWindowStart, KLMilliseconds(windowStart));
    content.set(kQuillonDiagnosticInfoKeyWindowEnd, KLMilliseconds(windowEnd));
  }
  addComparedValues(content, *this, context);
  if (form.namesPlan) content.set(kQuillonDiagnosticInfoKeyCampaignId, std::to_string(planID));
  return content;
}

void KLDiagnosis::addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) {
  for (const KLDecision& decision : decisions) {
    addContent(decision.content(context), std::to_string(decision.planID), decision.state(), decision.type());
  }
}

}  // namespace kaleo
