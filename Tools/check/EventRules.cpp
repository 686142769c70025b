#include "check/EventRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "Core/Model/KLPlanPattern.h"
#include "Core/Model/KLPropertyExpression.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLCalendar.h"
#include "check/KnownKeys.h"
#include "check/TimeRules.h"

namespace kaleo::tools {
namespace {

using Operator = KLPropertyOperator;

bool beginsWithNumber(const std::string& text) {
  const auto first = text.find_first_not_of(" \t+-.");
  return first != std::string::npos && std::isdigit(static_cast<unsigned char>(text[first])) != 0;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

/// AND or OR in any case, or none, which is OR.
void checkRelation(const At& relation, Findings& findings) {
  const bool known = equalIgnoringCase(relation.text(), "and") || equalIgnoringCase(relation.text(), "or");
  if (known || !relation.isGiven()) return;
  findings.report(Check::UnknownRelation, relation, fmt::format("{} joins by OR.", written(relation)));
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

void checkNumbers(const At& condition, Operator function, const std::vector<At>& params, Findings& findings) {
  for (const At& param : params) {
    if (!beginsWithNumber(param.text())) {
      findings.report(Check::NotANumber, param,
                      fmt::format("{} compares numbers, and {} counts as 0.", condition["function"].text(), written(param)));
    }
  }
  if (function != Operator::Between || params.size() < 2) return;
  if (quillon_doublePrefix(params.front().text()) > quillon_doublePrefix(params.back().text())) {
    findings.report(Check::EmptyRange, condition["params"],
                    fmt::format("No number lies between {} and {}.", params.front().text(), params.back().text()));
  }
}

void checkBounds(const At& condition, const std::vector<At>& params, Findings& findings) {
  static const KLCalendar calendar("UTC", KLWeekday::Monday);
  const auto first = KLPropertyExpression::dateFromString(params.front().value(), calendar);
  const auto last = KLPropertyExpression::dateFromString(params.back().value(), calendar);
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
  if (at.isGiven() && (!at.value()->isArray() || !texts)) {
    findings.report(Check::BadParams, at, fmt::format("{} is no array of texts, and counts as empty.", written(at)));
    return;
  }
  if (params.size() < needed) {
    findings.report(Check::BadParams, at.isPresent() ? at : condition,
                    fmt::format("{} needs {}, and there {} {}.", condition["function"].text(),
                                needed == 1 ? "a parameter" : "a first and a last parameter", params.size() == 1 ? "is" : "are",
                                params.size()));
    return;
  }
  if (comparesNumbers(function)) checkNumbers(condition, function, params, findings);
  if (function == Operator::AbsoluteBetween) checkBounds(condition, params, findings);
}

void checkCondition(const At& condition, Findings& findings) {
  if (!expectObject(condition, findings)) return;
  checkKeys(condition, {"field", "function", "params", "type"}, findings);
  const At field = condition["field"], function = condition["function"];
  if (getEventPropertyNameFromField(field.text()).empty()) {
    findings.report(Check::NoField, field.isPresent() ? field : condition, fmt::format("The field is {}.", written(field)));
  }
  const Operator named = KLPropertyOperatorNamed(function.text());
  if (named == Operator::Unknown) {
    findings.report(Check::UnknownOperator, function.isPresent() ? function : condition,
                    fmt::format("{} is no operator: the condition never holds.", written(function)));
    return;
  }
  checkParams(condition, named, findings);
}

void checkConditions(const At& holder, Findings& findings) {
  expectArray(holder["conditions"], findings);
  const auto conditions = holder["conditions"].elements();
  for (const At& condition : conditions) checkCondition(condition, findings);
}

void checkCount(const At& matcher, const CheckedLength& window, Findings& findings) {
  const At params = matcher["params"];
  const auto elements = params.elements();
  if (params.isGiven() && (elements.empty() || (elements.front().isText() ? !beginsWithNumber(elements.front().text())
                                                                          : !elements.front().value()->isNumber()))) {
    findings.report(Check::CountNotANumber, params,
                    fmt::format("{} begins with no count: the first event is enough.", written(params)));
  }
  if (neededOf(matcher) > 1 && window.isEmpty) {
    const At at = matcher["window"];
    findings.report(Check::CountNeverReached, at.isPresent() ? at : matcher,
                    fmt::format("{} events are needed within a window without length.", neededOf(matcher)));
  }
}

void checkMatcher(const At& matcher, Findings& findings) {
  if (!expectObject(matcher, findings)) return;
  checkKeys(matcher, {"type", "window", "measure", "function", "params", "event_name", "multi_filter", "filter"}, findings);
  const At name = matcher["event_name"];
  if (quillon_stringValue(name.value()).value_or("").empty()) {
    findings.report(Check::NoEventName, name.isPresent() ? name : matcher, fmt::format("The event's name is {}.", written(name)));
  }
  checkKeys(matcher["window"], {"unit", "natural", "value"}, findings);
  checkCount(matcher, checkLength(matcher["window"], findings), findings);
  const At filter = filterOf(matcher);
  if (!filter.isGiven() || !expectObject(filter, findings)) return;
  checkKeys(filter, {"relation", "conditions"}, findings);
  checkRelation(filter["relation"], findings);
  checkConditions(filter, findings);
}

}  // namespace

At filterOf(const At& matcher) {
  const At several = matcher["multi_filter"];
  return several.isPresent() ? several : matcher["filter"];
}

std::int64_t neededOf(const At& matcher) {
  const auto params = matcher["params"].elements();
  return params.empty() ? 0 : quillon_integerValue(params.front().value());
}

void checkPattern(const At& pattern, Findings& findings) {
  if (pattern.isGiven()) expectObject(pattern, findings);
  checkKeys(pattern, {"relation", "matcher_list"}, findings);
  const At relation = pattern["relation"], list = pattern["matcher_list"];
  const auto matchers = list.elements();
  if (relation.text() == "AND") {
    findings.report(Check::PatternAnd, relation, "The events of this plan are joined by AND: it never shows.");
  } else if (equalIgnoringCase(relation.text(), "and")) {
    findings.report(Check::UnknownRelation, relation,
                    fmt::format("Here {} joins by OR: any one event is enough.", written(relation)));
  } else {
    checkRelation(relation, findings);
  }
  expectArray(list, findings);
  if (matchers.empty()) findings.report(Check::NoMatchers, pattern, "The plan listens to no event.");
  for (const At& matcher : matchers) checkMatcher(matcher, findings);
}

void checkPermission(const At& permission, Findings& findings) {
  if (!permission.isGiven() || !expectObject(permission, findings)) return;
  checkKeys(permission, {"relation", "conditions", "filters"}, findings);
  checkRelation(permission["relation"], findings);
  checkConditions(permission, findings);
  expectArray(permission["filters"], findings);
  for (const At& nested : permission["filters"].elements()) checkPermission(nested, findings);
}

}  // namespace kaleo::tools
