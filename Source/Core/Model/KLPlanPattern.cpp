#include "Core/Model/KLPlanPattern.h"

#include <algorithm>

#include "Core/Model/KLEventName.h"
#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

constexpr std::string_view kEventDuration = "$event_duration";
constexpr std::string_view kPlainEventDuration = "event_duration";

}  // namespace

std::string_view getEventPropertyNameFromField(std::string_view field) {
  const auto dot = field.rfind('.');
  return dot == std::string_view::npos ? field : field.substr(dot + 1);
}

const KLValue* KLEventPropertyNamed(std::string_view name, const KLValue* properties) {
  if (!properties) return nullptr;
  const KLValue* value = properties->find(name);
  return value || name != kEventDuration ? value : properties->find(kPlainEventDuration);
}

void KLPlanCondition::compile() { expression_ = KLPropertyExpression(function ? *function : "", params); }

const KLValue* KLPlanCondition::valueInEvent(const KLValue& event) const {
  return field ? KLEventPropertyNamed(property(), event.find("properties")) : nullptr;
}

bool KLPlanCondition::matchWithEvent(const KLValue& event, const KLCalendar& calendar) const {
  return field && holdsForEvent(event, calendar);
}

void KLPlanConditionFilter::compile() { needsAll_ = relation && KLIsEqualIgnoringCase(*relation, "AND"); }

bool KLPlanConditionFilter::matchWithEvent(const KLValue& event, const KLCalendar& calendar) const {
  if (conditions.empty()) return true;
  const auto holds = [&](const KLPlanCondition& condition) { return condition.holdsForEvent(event, calendar); };
  return needsAll_ ? std::ranges::all_of(conditions, holds) : std::ranges::any_of(conditions, holds);
}

void KLPlanPopupMatcher::compile() {
  const KLValue* first = params && !params->asArray().empty() ? &params->asArray().front() : nullptr;
  triggerCount_ = quillon_integerValue(first);
}

bool KLPlanPopupMatcher::isMatchedEvent(const KLValue& event, const KLCalendar& calendar) const {
  const KLEventName name(event);
  return name.isPresent() && eventName == name.text() && (!filter || filter->matchWithEvent(event, calendar));
}

}  // namespace kaleo
