#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Model/KLPlanPattern.h"
#include "Foundation/KLCalendar.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The matchers of all plans that listen to one event name, in one table.
///
/// Plans ask the same questions again and again ("is the city Shanghai?"). The table keeps each distinct condition once, asks it at
/// most once of an event, and looks each property up at most once; what is left for a plan is to read small numbers that lie one
/// after another. The answers are those of `KLPlanPopupMatcher::isMatchedEvent`.
/// Threads: one at a time. Lifetime: borrows the event as long as questions about it are asked.
class KLMatcherTable {
 public:
  using Patterns = std::vector<const KLPlanPopupPattern*>;

  KLMatcherTable() = default;
  /// `patterns`: those of the plans that listen to events of that name, in serving order.
  KLMatcherTable(std::string_view eventName, const Patterns& patterns);

  const std::string& eventName() const { return eventName_; }

  /// Turns to another event, of the table's name.
  void begin(const KLValue& event);
  /// Whether the present event is matched by matcher `matcher` of plan `plan`, both by their place. Allocates nothing.
  bool isMatched(std::size_t plan, std::size_t matcher, const KLCalendar& calendar);

  std::size_t matcherCount(std::size_t plan) const { return firstMatchers_[plan + 1] - firstMatchers_[plan]; }
  /// How many conditions differ.
  std::size_t conditionCount() const { return conditions_.size(); }

 private:
  class Builder;
  using Index = std::uint32_t;
  static constexpr Index kNoProperty = std::numeric_limits<Index>::max();

  enum class Answer : std::uint8_t { Unasked, No, Yes };

  struct Property {
    std::string name;
    bool isLookedUp = false;
    const KLValue* value = nullptr;  ///< of the present event; null: it has none
  };
  struct Condition {
    KLPropertyExpression expression;  ///< a copy, so that all lie one after another
    Index property;                   ///< in properties_; kNoProperty: it names none
  };
  struct Matcher {
    bool listens;          ///< it is for events of the table's name
    bool needsAll;         ///< its conditions are joined by AND
    Index firstCondition;  ///< in matcherConditions_
    Index conditionCount;
  };

  bool holds(Index condition, const KLCalendar& calendar);
  bool ask(const Condition& condition, const KLCalendar& calendar);

  std::string eventName_;
  std::vector<Index> firstMatchers_;  ///< by plan, the place of its first matcher; one more for the end
  std::vector<Matcher> matchers_;
  std::vector<Index> matcherConditions_;  ///< places in conditions_
  std::vector<Condition> conditions_;
  std::vector<Property> properties_;

  // The present event.
  const KLValue* eventProperties_ = nullptr;
  std::vector<Answer> answers_;  ///< by condition
};

}  // namespace kaleo
