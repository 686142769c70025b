#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Model/KLPlanTimeModel.h"
#include "Core/Model/KLPropertyExpression.h"

namespace kaleo {

// The rules that say which events make a plan's popup due. An event is an object with "event", its name, and "properties", an
// object. Evaluating one parses no text and allocates nothing, but for dates, whose bounds are read in the calendar in force.

/// What follows the last "." of a dotted path; the whole text when it has none.
std::string_view getEventPropertyNameFromField(std::string_view field);

/// The value of that name among an event's `properties`; null when there is none, or no properties. "$event_duration" also goes by
/// "event_duration".
const KLValue* KLEventPropertyNamed(std::string_view name, const KLValue* properties);

/// A test of one event property.
class KLPlanCondition : public KLModel<KLPlanCondition> {
 public:
  std::optional<std::string> field;     ///< a dotted path that ends in the property's name
  std::optional<std::string> function;  ///< the operator's name
  KLValue params{KLValue::Array{}};     ///< an array of texts

  /// The name of the property: what follows the last "." of `field`.
  std::string_view property() const { return getEventPropertyNameFromField(field ? std::string_view(*field) : std::string_view()); }
  /// The event's value for this condition; null when it has none.
  const KLValue* valueInEvent(const KLValue& event) const;
  /// As a condition of a matcher: without `field`, or without a value, it holds when `function` is "notSet".
  bool holdsForEvent(const KLValue& event, const KLCalendar& calendar) const {
    return expression_.holdsForProperty(valueInEvent(event), calendar);
  }
  /// As a condition of a permission filter: the same, but without `field` it never holds.
  bool matchWithEvent(const KLValue& event, const KLCalendar& calendar) const;

  const KLPropertyExpression& expression() const { return expression_; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanCondition::field, "field", "field"),
                      KLFieldOf(&KLPlanCondition::function, "function", "function"),
                      KLFieldAs<KLTexts>(&KLPlanCondition::params, "params", "params")};
  }
  void compile();

 private:
  KLPropertyExpression expression_;
};

/// Conditions joined by AND, or by OR.
class KLPlanConditionFilter : public KLModel<KLPlanConditionFilter> {
 public:
  std::optional<std::string> relation;  ///< "AND" in any case: all must hold; anything else: one is enough
  std::vector<KLPlanCondition> conditions;

  bool needsAll() const { return needsAll_; }
  /// Without conditions every event matches.
  bool matchWithEvent(const KLValue& event, const KLCalendar& calendar) const;

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanConditionFilter::relation, "relation", "relation"),
                      KLFieldAs<KLList<KLStrangers::Skipped>>(&KLPlanConditionFilter::conditions, "conditions", "conditions")};
  }
  void compile();

 private:
  bool needsAll_ = false;
};

/// An event that counts towards the popup.
class KLPlanPopupMatcher : public KLModel<KLPlanPopupMatcher> {
 public:
  std::optional<std::string> type;      ///< kept, not consulted
  KLPlanTimeModel timeModel;            ///< the length of the counting window
  std::optional<std::string> measure;   ///< kept, not consulted
  std::optional<std::string> function;  ///< kept, not consulted
  std::optional<KLValue> params;        ///< as received
  std::optional<std::string> eventName;
  std::optional<KLPlanConditionFilter> filter;

  /// How many matching events are needed in one window: the first of `params`; 0 when there is none.
  std::int64_t triggerCount() const { return triggerCount_; }
  /// Whether `event` is of that name, exactly, and passes the filter.
  bool isMatchedEvent(const KLValue& event, const KLCalendar& calendar) const;

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanPopupMatcher::type, "type", "type"),
                      KLFieldOf(&KLPlanPopupMatcher::timeModel, "window", "timeModel"),
                      KLFieldOf(&KLPlanPopupMatcher::measure, "measure", "measure"),
                      KLFieldOf(&KLPlanPopupMatcher::function, "function", "function"),
                      KLFieldOf(&KLPlanPopupMatcher::params, "params", "params"),
                      KLFieldOf(&KLPlanPopupMatcher::eventName, "event_name", "eventName"),
                      KLFieldAs<KLBuiltWhen<KLIsPresent>>(&KLPlanPopupMatcher::filter, "multi_filter", "filter", "filter")};
  }
  void compile();

 private:
  std::int64_t triggerCount_ = 0;
};

/// The matchers of a plan: one that has counted enough makes the popup due.
class KLPlanPopupPattern : public KLModel<KLPlanPopupPattern> {
 public:
  std::optional<std::string> relation;
  std::vector<KLPlanPopupMatcher> matcherList;

  /// Whether the matchers are joined by "AND" (exactly), which never fires.
  bool isUnsupported() const { return relation == "AND"; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanPopupPattern::relation, "relation", "relation"),
                      KLFieldAs<KLList<KLStrangers::Skipped>>(&KLPlanPopupPattern::matcherList, "matcher_list", "matcherList")};
  }
};

/// A condition on pages. Kept, not consulted.
class KLPlanPageFilter : public KLModel<KLPlanPageFilter> {
 public:
  std::optional<std::string> function;
  KLValue params{KLValue::Array{}};  ///< an array of texts

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanPageFilter::function, "function", "function"),
                      KLFieldAs<KLTexts>(&KLPlanPageFilter::params, "params", "params")};
  }
};

}  // namespace kaleo
