#include "check/EventRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "Core/Model/KLPlanPattern.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "check/ConditionRules.h"
#include "check/KnownKeys.h"
#include "check/TimeRules.h"

namespace kaleo::tools {
namespace {

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

/// How "relation" joins the conditions beside it: AND or OR in any case, or none, which is OR. Answers whether it is AND.
bool checkRelation(const At& holder, const At& joined, Findings& findings) {
  const At relation = holder["relation"];
  if (equalIgnoringCase(relation.text(), "and")) return true;
  if (relation.isGiven() && !equalIgnoringCase(relation.text(), "or")) {
    findings.report(Check::UnknownRelation, relation, fmt::format("{} joins by OR.", written(relation)));
  }
  const std::size_t count = joined.elements().size();
  if (!relation.isGiven() && count > 1) {
    findings.report(Check::NoRelation, joined, fmt::format("One of these {} conditions is enough.", count));
  }
  return false;
}

void checkConditions(const At& holder, Findings& findings) {
  const bool all = checkRelation(holder, holder["conditions"], findings);
  expectArray(holder["conditions"], findings);
  const auto conditions = holder["conditions"].elements();
  for (const At& condition : conditions) checkCondition(condition, findings);
  checkTogether(conditions, all, findings);
}

void checkCount(const At& matcher, const CheckedLength& window, Findings& findings) {
  const At params = matcher["params"];
  const auto elements = params.elements();
  if (params.isGiven() && (elements.empty() || (elements.front().isText() ? !beginsWithNumber(elements.front().text())
                                                                          : !elements.front().value()->isNumber()))) {
    findings.report(Check::CountNotANumber, params,
                    fmt::format("{} begins with no count: the first event is enough.", written(params)));
  } else if (!elements.empty() && elements.front().isText() && !isWholeNumberText(elements.front().text())) {
    findings.report(Check::CountNotANumber, params, fmt::format("{} counts as {}.", written(elements.front()), neededOf(matcher)));
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
  checkBlanks(name, findings);
  checkKeys(matcher["window"], {"unit", "natural", "value"}, findings);
  checkCount(matcher, checkLength(matcher["window"], findings), findings);
  const At filter = filterOf(matcher);
  if (!filter.isGiven() || !expectObject(filter, findings)) return;
  checkKeys(filter, {"relation", "conditions"}, findings);
  checkConditions(filter, findings);
}

/// Matchers are joined by OR, so that one which another reaches first changes nothing.
void checkIdleMatchers(const std::vector<At>& matchers, Findings& findings) {
  for (std::size_t i = 0; i < matchers.size(); ++i) {
    for (std::size_t other = 0; other < matchers.size(); ++other) {
      if (other == i || !covers(matchers[other], matchers[i])) continue;
      if (other > i && covers(matchers[i], matchers[other])) continue;  // the same: the later one is idle
      findings.report(Check::IdleMatcher, matchers[i],
                      fmt::format("The matcher at {} is met whenever this one is, or sooner.", matchers[other].pointer()));
      break;
    }
  }
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
  } else if (relation.isGiven() && !equalIgnoringCase(relation.text(), "or")) {
    findings.report(Check::UnknownRelation, relation, fmt::format("{} joins by OR.", written(relation)));
  }
  expectArray(list, findings);
  if (matchers.empty()) findings.report(Check::NoMatchers, pattern, "The plan listens to no event.");
  for (const At& matcher : matchers) checkMatcher(matcher, findings);
  checkIdleMatchers(matchers, findings);
}

bool covers(const At& wide, const At& narrow) {
  if (wide["event_name"].text() != narrow["event_name"].text()) return false;
  const bool anyEvent = filterOf(wide)["conditions"].elements().empty();
  if (!anyEvent && !isSame(filterOf(wide), filterOf(narrow))) return false;
  return neededOf(wide) <= 1 || (neededOf(wide) <= neededOf(narrow) && isSame(wide["window"], narrow["window"]));
}

void checkPermission(const At& permission, Findings& findings) {
  if (!permission.isGiven() || !expectObject(permission, findings)) return;
  checkKeys(permission, {"relation", "conditions", "filters"}, findings);
  checkConditions(permission, findings);
  expectArray(permission["filters"], findings);
  for (const At& nested : permission["filters"].elements()) checkPermission(nested, findings);
}

}  // namespace kaleo::tools
