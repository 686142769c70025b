#include "check/ConditionRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <span>

#include "Core/Model/KLPlanPattern.h"
#include "Core/Model/KLPropertyExpression.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLCalendar.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

using Operator = KLPropertyOperator;

/// Dates in texts are compared with each other alone, so that any time zone will do.
const KLCalendar& calendar() {
  static const KLCalendar kCalendar("UTC", KLWeekday::Monday);
  return kCalendar;
}

std::size_t parametersNeeded(Operator function) {
  switch (function) {
    case Operator::Between:
    case Operator::AbsoluteBetween:
      return 2;
    case Operator::Unknown:
    case Operator::IsSet:
    case Operator::NotSet:
    case Operator::IsTrue:
    case Operator::IsFalse:
    case Operator::IsEmpty:
    case Operator::IsNotEmpty:
      return 0;
    default:
      return 1;
  }
}

bool comparesNumbers(Operator function) {
  return function == Operator::Less || function == Operator::Greater || function == Operator::Between;
}

bool comparesTexts(Operator function) {
  return function == Operator::Equal || function == Operator::NotEqual || function == Operator::In ||
         function == Operator::NotInclude || function == Operator::AbsoluteBetween;
}

/// How many of its parameters the operator looks at; more are lost on it.
std::size_t parametersUsed(Operator function) {
  switch (function) {
    case Operator::Equal:
    case Operator::NotEqual:
    case Operator::In:
    case Operator::NotInclude:
      return SIZE_MAX;
    default:
      return parametersNeeded(function);
  }
}

void checkNumbers(const At& condition, Operator function, const std::vector<At>& params, Findings& findings) {
  for (const At& param : params) {
    if (!isWholeNumberText(param.text())) {
      findings.report(Check::NotANumber, param,
                      fmt::format("{} compares numbers, and {} counts as {}.", condition["function"].text(), written(param),
                                  quillon_doublePrefix(param.text())));
    }
  }
  if (function != Operator::Between || params.size() < 2) return;
  if (quillon_doublePrefix(params.front().text()) > quillon_doublePrefix(params.back().text())) {
    findings.report(Check::EmptyRange, condition["params"],
                    fmt::format("No number lies between {} and {}.", params.front().text(), params.back().text()));
  }
}

void checkBounds(const At& condition, const std::vector<At>& params, Findings& findings) {
  const auto first = KLPropertyExpression::dateFromString(params.front().value(), calendar());
  const auto last = KLPropertyExpression::dateFromString(params.back().value(), calendar());
  if (first.has_value() != last.has_value() || (!first && beginsWithNumber(params.front().text()))) {
    const At& odd = first ? params.back() : params.front();
    findings.report(Check::NotADate, odd, fmt::format("{} is no date that the library reads.", written(odd)));
  }
  const bool reversed = first && last ? *first > *last : !first && !last && params.front().text() > params.back().text();
  if (reversed)
    findings.report(Check::EmptyRange, condition["params"], "Nothing lies between these bounds: the first is the later one.");
}

void checkParams(const At& condition, Operator function, Findings& findings) {
  const At at = condition["params"];
  const auto params = at.elements();
  const bool texts = std::ranges::all_of(params, &At::isText);
  const std::size_t needed = parametersNeeded(function);
  if (needed == 0 && params.empty()) return;
  if (needed > 0 && at.isGiven() && (!at.value()->isArray() || !texts)) {
    findings.report(Check::BadParams, at, fmt::format("{} is no array of texts, and counts as empty.", written(at)));
    return;
  }
  if (params.size() < needed) {
    findings.report(Check::BadParams, at,
                    fmt::format("{} needs {}, and there {} {}.", condition["function"].text(),
                                needed == 1 ? "a parameter" : "a first and a last parameter", params.size() == 1 ? "is" : "are",
                                params.size()));
    return;
  }
  if (params.size() > parametersUsed(function)) {
    findings.report(
        Check::ExtraParams, at,
        needed == 0   ? fmt::format("{} looks at no parameter.", condition["function"].text())
        : needed == 1 ? fmt::format("{} looks at {} alone.", condition["function"].text(), written(params.front()))
                      : fmt::format("{} looks at the first and the last of {} alone.", condition["function"].text(), written(at)));
  }
  if ((function == Operator::Contain || function == Operator::NotContain) && params.front().text().empty()) {
    findings.report(Check::BadParams, params.front(), "Every text contains an empty one.");
  }
  if (comparesTexts(function)) {
    for (const At& param : params) checkBlanks(param, findings);
  }
  if (function == Operator::In || function == Operator::NotInclude) {
    findings.report(Check::ListOperator, condition["function"],
                    fmt::format("{} for any property that is no list.",
                                function == Operator::In ? "\"in\" never holds" : "\"notInclude\" always holds"));
  }
  if (comparesNumbers(function)) checkNumbers(condition, function, params, findings);
  if (function == Operator::AbsoluteBetween) checkBounds(condition, params, findings);
}

}  // namespace

void checkCondition(const At& condition, Findings& findings) {
  if (!expectEntry(condition, findings)) return;
  checkKeys(condition, {"field", "function", "params", "type"}, findings);
  const At field = condition["field"], function = condition["function"];
  if (getEventPropertyNameFromField(field.text()).empty()) {
    findings.report(Check::NoField, field, fmt::format("The field is {}.", written(field)));
  }
  checkBlanks(field, findings);
  const Operator named = KLPropertyOperatorNamed(function.text());
  if (named == Operator::Unknown) {
    findings.report(Check::UnknownOperator, function,
                    fmt::format("The operator is {}: the condition never holds{}", written(function),
                                didYouMean(function.text(), {"isSet", "notSet", "equal", "notEqual", "less", "greater", "between",
                                                             "isTrue", "isFalse", "isEmpty", "isNotEmpty", "contain", "notContain",
                                                             "in", "notInclude", "absolute_between"})));
    return;
  }
  checkParams(condition, named, findings);
}

namespace {

/// A condition as the library reads it.
struct Test {
  At at;
  KLPropertyExpression expression;

  bool holds(const KLValue* value) const { return expression.holdsForProperty(value, calendar()); }
};

/// Values of one kind that conditions tell apart, for parameters such as theirs; null is a property that is not there.
struct Probes {
  std::vector<KLValue> texts{"", "another text", "true", "false"};
  std::vector<KLValue> numbers{0, 1, 1e12, -1e12, true, false};  // booleans are compared as numbers
  std::vector<KLValue> others{KLValue::Array{}, KLValue::Array{"another text"}};

  void addNumber(double number) {
    for (const double near : {number - 1, number, number + 1}) numbers.emplace_back(near);
  }

  void add(const std::vector<At>& params) {
    std::string joined;
    for (const At& param : params) {
      const std::string& text = param.text();
      joined += text + " ";
      texts.insert(texts.end(), {text, text + "!", "!" + text});
      others.emplace_back(KLValue::Array{text});
      if (isWholeNumberText(text)) addNumber(quillon_doublePrefix(text));
      if (const auto date = KLPropertyExpression::dateFromString(param.value(), calendar())) others.emplace_back(KLDate{*date});
    }
    if (params.size() < 2) return;
    texts.emplace_back(joined);
    addNumber((quillon_doublePrefix(params.front().text()) + quillon_doublePrefix(params.back().text())) / 2);
  }

  /// Two conditions may hold for what contains the parameters of both, or lies between them.
  void addBetween(const Probes& other) {
    static constexpr std::size_t kMost = 30;  // of each: enough for conditions that people write, and for lists of any length quick
    const auto few = [](const std::vector<KLValue>& values) { return std::span(values).first(std::min(values.size(), kMost)); };
    const Probes before = *this;
    for (const KLValue& one : few(before.texts)) {
      for (const KLValue& two : few(other.texts)) texts.emplace_back(one.asString() + " " + two.asString());
    }
    for (const KLValue& one : few(before.numbers)) {
      for (const KLValue& two : few(other.numbers)) numbers.emplace_back((one.asDouble() + two.asDouble()) / 2);
    }
  }
};

using Tests = std::vector<Test>;

bool allHold(const Tests& tests, const KLValue* value) {
  return std::ranges::all_of(tests, [value](const Test& test) { return test.holds(value); });
}
bool anyHolds(const Tests& tests, const KLValue* value) {
  return std::ranges::any_of(tests, [value](const Test& test) { return test.holds(value); });
}

bool isSatisfied(const Tests& tests, const Probes& probes) {
  if (allHold(tests, nullptr)) return true;
  for (const auto* values : {&probes.texts, &probes.numbers, &probes.others}) {
    if (std::ranges::any_of(*values, [&tests](const KLValue& value) { return allHold(tests, &value); })) return true;
  }
  return false;
}

bool holdsForEach(const Tests& tests, const std::vector<KLValue>& values) {
  return std::ranges::all_of(values, [&tests](const KLValue& value) { return anyHolds(tests, &value); });
}

/// Whether the operator compares a number with its parameters as they are meant; a text that is none would count as 0.
bool isMeantForNumbers(const Test& test) {
  const Operator function = test.expression.function();
  if (function != Operator::Equal && function != Operator::NotEqual) return true;
  return std::ranges::all_of(test.at["params"].elements(), [](const At& param) { return isWholeNumberText(param.text()); });
}

void checkPair(const Test& one, const Test& two, bool all, Findings& findings) {
  Probes probes, others;
  probes.add(one.at["params"].elements());
  others.add(two.at["params"].elements());
  probes.addBetween(others);
  probes.add(two.at["params"].elements());
  if (!isMeantForNumbers(one) || !isMeantForNumbers(two)) probes.numbers.clear();
  const Tests both{one, two};
  if (all && isSatisfied({one}, probes) && isSatisfied({two}, probes) && !isSatisfied(both, probes)) {
    findings.report(Check::Contradiction, two.at,
                    fmt::format("No value satisfies both this condition and that at {}.", one.at.pointer()));
  }
  if (all) return;
  for (const auto& [values, kind] : {std::pair(&probes.texts, "text"), std::pair(&probes.numbers, "number")}) {
    if (values->empty() || holdsForEach({one}, *values) || holdsForEach({two}, *values) || !holdsForEach(both, *values)) continue;
    findings.report(Check::AlwaysHolds, two.at,
                    fmt::format("Every {} satisfies either this condition or that at {}.", kind, one.at.pointer()));
    return;
  }
}

}  // namespace

void checkTogether(const std::vector<At>& conditions, bool all, Findings& findings) {
  constexpr std::size_t kMost = 50;  // conditions on one property that are compared with each other
  std::map<std::string, Tests, std::less<>> byProperty;
  for (const At& condition : conditions) {
    const KLValue* const params = condition["params"].value();
    Test test{condition, {condition["function"].text(), params ? *params : KLValue()}};
    Tests& tests = byProperty[std::string(getEventPropertyNameFromField(condition["field"].text()))];
    const bool isRead =
        test.expression.function() != Operator::Unknown && std::ranges::all_of(condition["params"].elements(), &At::isText);
    if (isRead && tests.size() < kMost) tests.push_back(std::move(test));
  }
  for (const auto& [property, tests] : byProperty) {
    for (std::size_t i = 1; i < tests.size(); ++i) {
      for (std::size_t j = 0; j < i; ++j) checkPair(tests[j], tests[i], all, findings);
    }
  }
}

}  // namespace kaleo::tools
