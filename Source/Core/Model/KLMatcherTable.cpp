#include "Core/Model/KLMatcherTable.h"

#include <algorithm>
#include <unordered_map>

namespace kaleo {
namespace {

// Two conditions are one when these texts are: every part is preceded by its length.
void appendPart(std::string& identity, std::string_view part) {
  identity.append(std::to_string(part.size())).append(":").append(part);
}

std::string identityOf(const KLPlanCondition& condition) {
  std::string identity = condition.field ? "f" : "-";
  appendPart(identity, condition.property());
  appendPart(identity, condition.function ? std::string_view(*condition.function) : std::string_view());
  for (const KLValue& param : condition.params.asArray()) appendPart(identity, param.asString());
  return identity;
}

}  // namespace

class KLMatcherTable::Builder {
 public:
  explicit Builder(KLMatcherTable& table) : table_(table) {}

  void addMatcher(const KLPlanPopupMatcher& matcher) {
    const auto first = static_cast<Index>(table_.matcherConditions_.size());
    const bool listens = matcher.eventName == table_.eventName_;
    if (listens && matcher.filter) {
      for (const KLPlanCondition& condition : matcher.filter->conditions)
        table_.matcherConditions_.push_back(placeOfCondition(condition));
    }
    const auto count = static_cast<Index>(table_.matcherConditions_.size()) - first;
    table_.matchers_.push_back({listens, matcher.filter && matcher.filter->needsAll(), first, count});
  }

 private:
  Index placeOfCondition(const KLPlanCondition& condition) {
    const auto next = static_cast<Index>(table_.conditions_.size());
    const auto [found, isNew] = conditionPlaces_.emplace(identityOf(condition), next);
    if (isNew)
      table_.conditions_.push_back({condition.expression(), condition.field ? placeOfProperty(condition.property()) : kNoProperty});
    return found->second;
  }

  Index placeOfProperty(std::string_view name) {
    const auto next = static_cast<Index>(table_.properties_.size());
    const auto [found, isNew] = propertyPlaces_.emplace(name, next);
    if (isNew) table_.properties_.push_back({std::string(name)});
    return found->second;
  }

  KLMatcherTable& table_;
  std::unordered_map<std::string, Index> conditionPlaces_;
  std::unordered_map<std::string_view, Index> propertyPlaces_;
};

KLMatcherTable::KLMatcherTable(std::string_view eventName, const Patterns& patterns) : eventName_(eventName), firstMatchers_{0} {
  Builder builder(*this);
  for (const KLPlanPopupPattern* pattern : patterns) {
    for (const KLPlanPopupMatcher& matcher : pattern->matcherList) builder.addMatcher(matcher);
    firstMatchers_.push_back(static_cast<Index>(matchers_.size()));
  }
  answers_.resize(conditions_.size());
}

void KLMatcherTable::begin(const KLValue& event) {
  eventProperties_ = event.find("properties");
  for (Property& property : properties_) property.isLookedUp = false;
  std::ranges::fill(answers_, Answer::Unasked);
}

bool KLMatcherTable::isMatched(std::size_t plan, std::size_t matcher, const KLCalendar& calendar) {
  const Matcher& asked = matchers_[firstMatchers_[plan] + matcher];
  if (!asked.listens || asked.conditionCount == 0) return asked.listens;
  const auto first = matcherConditions_.begin() + asked.firstCondition;
  const auto end = first + asked.conditionCount;
  const auto isHeld = [&](Index condition) { return holds(condition, calendar); };
  return asked.needsAll ? std::all_of(first, end, isHeld) : std::any_of(first, end, isHeld);
}

bool KLMatcherTable::holds(Index condition, const KLCalendar& calendar) {
  Answer& answer = answers_[condition];
  if (answer == Answer::Unasked) answer = ask(conditions_[condition], calendar) ? Answer::Yes : Answer::No;
  return answer == Answer::Yes;
}

bool KLMatcherTable::ask(const Condition& condition, const KLCalendar& calendar) {
  if (condition.property == kNoProperty) return condition.expression.holdsForProperty(nullptr, calendar);
  Property& property = properties_[condition.property];
  if (!property.isLookedUp) {
    property.value = KLEventPropertyNamed(property.name, eventProperties_);
    property.isLookedUp = true;
  }
  return condition.expression.holdsForProperty(property.value, calendar);
}

}  // namespace kaleo
