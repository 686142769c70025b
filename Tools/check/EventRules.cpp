#include "check/EventRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "Core/Model/KLPlanPattern.h"
#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "check/ConditionRules.h"
#include "check/KnownKeys.h"
#include "check/TimeRules.h"

namespace kaleo::tools {
namespace {

/// How "relation" joins the `count` things beside it: AND or OR in any case, or none, which is OR. Answers whether it is AND.
bool checkRelation(const At& holder, std::size_t count, Findings& findings) {
  const At relation = holder["relation"];
  if (KLIsEqualIgnoringCase(relation.text(), "and")) return true;
  if (count < 2) return false;
  if (!relation.isGiven()) {
    const At conditions = holder["conditions"];
    findings.report(Check::NoRelation, conditions.elements().size() == count ? conditions : holder["filters"],
                    fmt::format("One of these {} is enough.", count));
  } else if (!KLIsEqualIgnoringCase(relation.text(), "or")) {
    findings.report(Check::UnknownRelation, relation, fmt::format("{} joins by OR.", written(relation)));
  }
  return false;
}

/// Answers whether the relation is AND.
bool checkConditions(const At& holder, Findings& findings) {
  expectArray(holder["conditions"], findings);
  const auto conditions = holder["conditions"].elements();
  const bool all = checkRelation(holder, std::max(conditions.size(), holder["filters"].elements().size()), findings);
  for (const At& condition : conditions) checkCondition(condition, findings);
  checkTogether(conditions, all, findings);
  return all;
}

/// The filter of a matcher: "multi_filter", else "filter".
At filterOf(const At& matcher) {
  const At several = matcher["multi_filter"];
  return several.isPresent() ? several : matcher["filter"];
}

/// A count that the matcher does not reach, as each event begins a new window.
void checkWindow(const At& matcher, Findings& findings) {
  const At window = matcher["window"];
  checkKeys(window, {"unit", "natural", "value"}, findings);
  const bool isRead = !window.isGiven() || expectObject(window, findings);
  if (isRead) checkBool(window["natural"], findings);
  if (isRead) checkInteger(window["value"], findings);
  const auto empty = whyEmpty(window);
  if (!empty) return;
  const auto needed = neededOf(matcher);
  const bool isWritten = window.isObject() && window["unit"].isGiven();
  if (needed > 1) {
    findings.report(Check::CountNeverReached, isWritten ? empty->at : window,
                    fmt::format("{}: {} events are needed within a window without length.",
                                isWritten ? empty->sentence : "There is no window", needed));
  } else if (isWritten && empty->check != Check::EmptyWindow) {
    findings.report(Check::IdleWindow, empty->at, empty->sentence + "; it does not matter, as the first event is enough.");
  }
}

void checkCount(const At& matcher, Findings& findings) {
  const At params = matcher["params"];
  if (!params.isGiven()) return;
  const auto elements = params.elements();
  const bool isNumber = !elements.empty() && elements.front().value()->isNumber();
  const bool begins = isNumber || (!elements.empty() && elements.front().isText() && beginsWithNumber(elements.front().text()));
  const auto needed = neededOf(matcher);
  if (!begins) {
    findings.report(Check::CountNotANumber, params,
                    fmt::format("{} is no array that begins with a count: the first event is enough.", written(params)));
  } else if (needed < 1) {
    findings.report(Check::CountNotANumber, elements.front(),
                    fmt::format("{} counts as {}: the first event is enough.", written(elements.front()), needed));
  } else if (quillon_doubleValue(elements.front().value()) != static_cast<double>(needed) ||
             (!isNumber && !isWholeNumberText(elements.front().text()))) {
    findings.report(Check::CountNotANumber, elements.front(), fmt::format("{} counts as {}.", written(elements.front()), needed));
  }
}

/// Words that promise another count than "at least so many events".
void checkIdleFunction(const At& matcher, Findings& findings) {
  static constexpr std::array kFunctions{"equal",     "==", "=",  "notEqual", "less", "less_equal",
                                         "lessEqual", "<",  "<=", "greater",  ">",    "between"};
  static constexpr std::array kMeasures{"sum", "avg", "average", "max", "min", "unique", "distinct"};
  const At function = matcher["function"], measure = matcher["measure"];
  const auto needed = std::max<std::int64_t>(neededOf(matcher), 1);
  const bool isExact = function.text() == "equal" && needed == 1;  // at the first event
  if (!isExact && std::ranges::find(kFunctions, function.text()) != kFunctions.end()) {
    findings.report(Check::IdleFunction, function,
                    fmt::format("{} is not read: it takes {} events, or more.", written(function), needed));
  }
  if (std::ranges::find(kMeasures, measure.text()) != kMeasures.end()) {
    findings.report(Check::IdleFunction, measure,
                    fmt::format("Events are counted, and their {} is not looked at.", measure.text()));
  }
}

void checkFilter(const At& matcher, Findings& findings) {
  const At several = matcher["multi_filter"], one = matcher["filter"], filter = filterOf(matcher);
  if (several.isPresent() && one.isGiven()) {
    findings.report(Check::IgnoredFilter, one,
                    several.isGiven() ? "This filter is not read, as there is a \"multi_filter\"."
                                      : "This filter is not read, as \"multi_filter\" is there and null: any event counts.");
  }
  if (!filter.isGiven() || !expectObject(filter, findings)) return;
  if (filter["filters"].isGiven()) {
    findings.report(Check::IgnoredFilter, filter["filters"], "These filters are not read: those of events do not nest.");
  }
  checkKeys(filter, {"relation", "conditions", "filters"}, findings);
  checkConditions(filter, findings);
}

void checkMatcher(const At& matcher, Findings& findings) {
  if (!expectEntry(matcher, findings)) return;
  checkKeys(matcher, {"type", "window", "measure", "function", "params", "event_name", "multi_filter", "filter"}, findings);
  const At name = matcher["event_name"];
  if (quillon_stringValue(name.value()).value_or("").empty()) {
    findings.report(Check::NoEventName, name, fmt::format("The event's name is {}.", written(name)));
  }
  checkBlanks(name, findings);
  checkWindow(matcher, findings);
  checkCount(matcher, findings);
  checkIdleFunction(matcher, findings);
  checkFilter(matcher, findings);
}

/// Whether `wide` is met by every event that meets `narrow`, or sooner.
bool isMetSooner(const CountedEvents& wide, const CountedEvents& narrow) {
  const bool sameCounts =
      wide.event != 0 && wide.event == narrow.event && wide.filter == narrow.filter && wide.window == narrow.window;
  return isDueAtOnce(wide, narrow) || (sameCounts && wide.needed <= narrow.needed);
}

/// Matchers are joined by OR, so that one which another reaches first changes nothing.
void checkIdleMatchers(const std::vector<At>& matchers, Findings& findings) {
  Alike alike;
  std::vector<CountedEvents> counted;
  for (const At& matcher : matchers) counted.push_back(countedBy(matcher, alike));
  for (std::size_t i = 0; i < matchers.size(); ++i) {
    for (std::size_t other = 0; other < matchers.size(); ++other) {
      if (other == i || !isMetSooner(counted[other], counted[i])) continue;
      if (other > i && isMetSooner(counted[i], counted[other])) continue;  // the same: the later one is idle
      findings.report(Check::IdleMatcher, matchers[i],
                      fmt::format("The matcher at {} is met whenever this one is, or sooner.", matchers[other].pointer()));
      break;
    }
  }
}

}  // namespace

std::int64_t neededOf(const At& matcher) {
  const auto params = matcher["params"].elements();
  return params.empty() ? 0 : quillon_integerValue(params.front().value());
}

void checkPattern(const At& pattern, Findings& findings) {
  if (pattern.isGiven() && !pattern.isObject()) {
    findings.report(Check::NoMatchers, pattern,
                    fmt::format("{} should be an object: the plan listens to no event.", written(pattern)));
    return;
  }
  checkKeys(pattern, {"relation", "matcher_list"}, findings);
  const At relation = pattern["relation"], list = pattern["matcher_list"];
  const auto matchers = list.elements();
  if (relation.text() == "AND") {
    findings.report(Check::PatternAnd, relation, "The events of this plan are joined by AND: it never shows.");
  } else if (relation.isGiven() && matchers.size() > 1 && !KLIsEqualIgnoringCase(relation.text(), "or")) {
    findings.report(Check::UnknownRelation, relation,
                    fmt::format("Here {} joins by OR: any one event is enough.", written(relation)));
  }
  if (matchers.empty()) {
    const bool isList = !list.isGiven() || list.value()->isArray();
    findings.report(Check::NoMatchers, list,
                    isList ? "The plan listens to no event."
                           : fmt::format("{} should be an array: the plan listens to no event.", written(list)));
  }
  for (const At& matcher : matchers) checkMatcher(matcher, findings);
  checkIdleMatchers(matchers, findings);
}

CountedEvents countedBy(const At& matcher, Alike& alike) {
  const At filter = filterOf(matcher);
  const bool anyEvent = filter["conditions"].elements().empty();
  const bool isNamed = !quillon_stringValue(matcher["event_name"].value()).value_or("").empty();
  return {isNamed ? alike.numberOf(matcher["event_name"]) : 0, anyEvent ? 0 : alike.numberOf(filter),
          alike.numberOf(matcher["window"]), neededOf(matcher)};
}

bool isDueAtOnce(const CountedEvents& wide, const CountedEvents& narrow) {
  return wide.event != 0 && wide.event == narrow.event && wide.needed <= 1 && (wide.filter == 0 || wide.filter == narrow.filter);
}

void checkPermission(const At& permission, Findings& findings) {
  if (!permission.isGiven() || !expectObject(permission, findings)) return;
  checkKeys(permission, {"relation", "conditions", "filters"}, findings);
  const bool all = checkConditions(permission, findings);
  const At filters = permission["filters"];
  expectArray(filters, findings);
  const auto nested = filters.elements();
  if (!all && !nested.empty() && !permission["conditions"].elements().empty()) {
    findings.report(Check::BothNeeded, filters, "Besides one of these filters one of the conditions beside them must hold, too.");
  }
  for (const At& each : nested) {
    if (expectEntry(each, findings)) checkPermission(each, findings);
  }
}

}  // namespace kaleo::tools
