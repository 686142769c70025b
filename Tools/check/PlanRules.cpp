#include "check/PlanRules.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "Core/Utils/KLJSONSerialization.h"
#include "check/BoundRules.h"
#include "check/DisplayRules.h"
#include "check/EventRules.h"
#include "check/KnownKeys.h"
#include "check/TimeRules.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr double kMilliseconds = 1000.0;
/// Milliseconds before this (1973) are most likely seconds.
constexpr double kLikelySeconds = 1e11;

std::int64_t integerOf(const At& at) { return quillon_integerValue(at.value()); }
bool yes(const At& at) { return quillon_boolValue(at.value()); }

/// As the library reads it: a text as it stands, a number's text.
double expiryOf(const At& plan) { return quillon_doublePrefix(quillon_stringValue(plan["expire_at"].value()).value_or("")); }

std::string day(double milliseconds) {
  constexpr double kLast = 253402300799;  // the end of the year 9999
  const auto seconds = static_cast<std::time_t>(std::clamp(milliseconds / kMilliseconds, -kLast, kLast));
  return fmt::format("{:%Y-%m-%d}", fmt::gmtime(seconds));
}

void checkIdentity(const At& plan, Findings& findings) {
  const At id = plan["plan_id"];
  if (integerOf(id) == 0) {
    findings.report(Check::PlanId, id, fmt::format("The plan's id is {}, which reads as 0.", written(id)));
  }
  if (integerOf(id) != 0) checkInteger(id, findings);
  for (const char* key : {"absolute_priority", "audience_id"}) checkInteger(plan[key], findings);
  for (const char* key : {"is_trigger", "is_control_group", "global_msg_limit_enabled"}) checkBool(plan[key], findings);
  const At strategy = plan["strategy_id"];
  if (strategy.isGiven() && !yes(plan["is_trigger"])) {
    findings.report(Check::StrategyWithoutTrigger, strategy,
                    fmt::format("The plan has the strategy {} and is no trigger plan.", written(strategy)));
  }
}

void checkExpiry(const At& plan, double now, Findings& findings) {
  const At at = plan["expire_at"];
  const double expiry = expiryOf(plan);
  if (!at.isGiven() || expiry == 0) {
    findings.report(Check::NoExpiry, at, fmt::format("The time of expiry is {}, which reads as 1970.", written(at)));
  } else if (expiry < now * kMilliseconds) {
    const bool isPlain = !at.isText() || isWholeNumberText(at.text());
    const bool seconds = isPlain && expiry < kLikelySeconds && expiry > now;
    findings.report(Check::Expired, at,
                    seconds    ? fmt::format("{} looks like seconds; as milliseconds it is {}.", written(at), day(expiry))
                    : !isPlain ? fmt::format("{} counts as {:.0f} milliseconds: {}.", written(at), expiry, day(expiry))
                               : fmt::format("The plan expired on {}.", day(expiry)));
  }
}

void checkAudience(const At& plan, Findings& findings) {
  const At status = plan["status"], audience = plan["is_audience"];
  if (status.text() != "ACTIVE") {
    findings.report(Check::NeverActive, status, fmt::format("The status is {}.", written(status)));
  }
  if (!yes(audience)) {
    findings.report(Check::NotAudience, audience,
                    fmt::format("\"is_audience\" is {}{}.", written(audience), audience.isText() ? ", which reads as no" : ""));
  }
  if (yes(plan["is_control_group"]) && !plan["strategy_id"].isGiven()) {
    findings.report(Check::ControlGroup, plan["is_control_group"], "The user is in this plan's control group.");
  }
}

/// Of the re-entry rule what can never count, as other windows keep the popups of the plan apart.
void checkReEntryAgainst(const At& plan, const char* window, const char* unless, Findings& findings) {
  const CheckedLength span = lengthOf(plan["re_enter"]), apart = lengthOf(plan[window]);
  const std::int64_t limit = integerOf(plan["re_enter"]["limit"]);
  const bool isRolling = !yes(plan[window]["natural"]);  // an aligned one may be over at once
  if (limit < 2 || span.isEmpty || apart.isEmpty || !isRolling) return;
  if (static_cast<double>(limit - 1) * apart.seconds < span.seconds) return;
  findings.report(Check::LimitNeverReached, plan["re_enter"]["limit"],
                  fmt::format("\"{}\" keeps the popups of this plan {} apart{}: it never shows {} times in {}.", window,
                              TimeText::length(apart.seconds), unless, limit, TimeText::length(span.seconds)));
}

bool isServed(const At& plan, double now) {
  return expiryOf(plan) >= now * kMilliseconds && plan["status"].text() == "ACTIVE" && yes(plan["is_audience"]) &&
         plan["pattern_popup"]["relation"].text() != "AND";
}

/// What makes a plan due, for comparing it with many others.
struct Reach {
  const At* plan = nullptr;
  std::size_t permission = 0, displayTimes = 0;  ///< 0: any event, at any time
  std::vector<CountedEvents> matchers;
};

Reach reachOf(const At& plan, Alike& alike) {
  const At permission = plan["event_permission"], displayTimes = plan["display_time_config"];
  const bool admitsAll = permission["conditions"].elements().empty() && permission["filters"].elements().empty();
  Reach reach{&plan, admitsAll ? 0 : alike.numberOf(permission), displayTimes.isObject() ? alike.numberOf(displayTimes) : 0, {}};
  for (const At& matcher : plan["pattern_popup"]["matcher_list"].elements()) reach.matchers.push_back(countedBy(matcher, alike));
  return reach;
}

/// Whether each event that makes `later` due makes `first` due, too. A count above 1 begins anew when its plan has shown, and that
/// of the other plan goes on, so that it is not long before they differ.
bool answersAllOf(const Reach& first, const Reach& later) {
  if (first.permission != 0 && first.permission != later.permission) return false;
  if (first.displayTimes != 0 && first.displayTimes != later.displayTimes) return false;
  return !later.matchers.empty() && std::ranges::all_of(later.matchers, [&first](const CountedEvents& narrow) {
    return std::ranges::any_of(first.matchers, [&narrow](const CountedEvents& wide) { return isDueAtOnce(wide, narrow); });
  });
}

bool isEverHeldBack(const At& plan) {
  for (const char* window : {"re_enter", "popup_interval", "convert_window"}) {
    if (!lengthOf(plan[window]).isEmpty) return true;
  }
  return yes(plan["global_msg_limit_enabled"]);
}

/// What the library keeps of a plan when the server changes it.
void checkWindowUpdate(const At& update, Findings& findings) {
  if (!update.isGiven() || !expectObject(update, findings)) return;
  for (const auto& [key, value] : update.value()->asObject()) {
    if (key == "all_window" || key == "trigger_window" || key == "convert_window") continue;
    findings.report(Check::UnknownWindow, update[key], fmt::format("{} resets no window.", quoted(key)));
  }
}

void checkPageFilter(const At& filter, Findings& findings) {
  if (!filter["function"].text().empty()) {
    findings.report(Check::PageFilter, filter, "The plan shows on every page, whatever is written here.");
  }
}

void checkInhibition(const At& first, const At& later, Findings& findings) {
  const double until = expiryOf(first);
  const std::string span = until < expiryOf(later) ? fmt::format("until {} ", day(until)) : "";
  findings.report(Check::AlwaysInhibited, later["absolute_priority"],
                  fmt::format("Plan {} comes first and answers every event that plan {} answers: {}this one {}.",
                              integerOf(first["plan_id"]), integerOf(later["plan_id"]), span,
                              isEverHeldBack(first) ? "shows only while that one is held back by its own limits" : "never shows"));
}

}  // namespace

void checkPlan(const At& plan, double now, Findings& findings) {
  if (!expectEntry(plan, findings)) return;
  checkKeys(plan,
            {"plan_id",
             "audience_id",
             "absolute_priority",
             "is_audience",
             "is_control_group",
             "global_msg_limit_enabled",
             "cname",
             "status",
             "last_update_config_time",
             "expire_at",
             "popup_window_content",
             "re_enter",
             "page_filter",
             "popup_interval",
             "convert_window",
             "pattern_popup",
             "window_update",
             "strategy_id",
             "is_trigger",
             "section_id",
             "event_permission",
             "display_time_config"},
            findings);
  checkIdentity(plan, findings);
  checkExpiry(plan, now, findings);
  checkAudience(plan, findings);
  checkPattern(plan["pattern_popup"], findings);
  checkPermission(plan["event_permission"], findings);
  checkQuietPeriod(plan["popup_interval"], "the plan needs no pause after its popup.", findings);
  checkQuietPeriod(plan["convert_window"], "the plan waits for no conversion.", findings);
  checkReEntry(plan["re_enter"], expiryOf(plan) / kMilliseconds - now, findings);
  checkReEntryAgainst(plan, "popup_interval", "", findings);
  checkReEntryAgainst(plan, "convert_window", " unless the user converts", findings);
  checkDisplayTimes(plan["display_time_config"], findings);
  checkWindowUpdate(plan["window_update"], findings);
  checkPageFilter(plan["page_filter"], findings);
  checkPlanBounds(plan, findings);
}

void checkLimitsAgainst(const std::vector<At>& plans, const At& limits, Findings& findings) {
  const bool areInUse = yes(limits["is_in_use"]) && !limits["limits"].elements().empty();
  const auto takesPart = [](const At& plan) { return yes(plan["global_msg_limit_enabled"]); };
  if (areInUse && !plans.empty() && std::ranges::none_of(plans, takesPart)) {
    findings.report(Check::LimitNotInUse, limits, "No plan takes part in these limits (\"global_msg_limit_enabled\").");
  }
  const auto first = std::ranges::find_if(plans, takesPart);
  if (!limits.isGiven() && first != plans.end()) {
    findings.report(Check::LimitNotInUse, (*first)["global_msg_limit_enabled"],
                    "The plan takes part in global limits, and there are none (\"msg_limit_global\").");
  }
}

void checkPlansTogether(const std::vector<At>& plans, double now, Findings& findings) {
  Alike alike;
  std::map<std::int64_t, const At*> known;
  std::vector<Reach> served;
  for (const At& plan : plans) {
    if (!plan.isObject()) continue;
    const auto [earlier, isNew] = known.emplace(integerOf(plan["plan_id"]), &plan);
    if (!isNew && earlier->first != 0)
      findings.report(Check::DuplicatePlan, plan["plan_id"],
                      fmt::format("Plan {} is at {}, too.", earlier->first, earlier->second->pointer()));
    if (isServed(plan, now)) served.push_back(reachOf(plan, alike));
  }
  std::ranges::stable_sort(served, std::greater(), [](const Reach& reach) {
    return std::tuple(integerOf((*reach.plan)["absolute_priority"]), integerOf((*reach.plan)["plan_id"]));
  });
  for (auto later = served.begin(); later != served.end(); ++later) {
    const auto first = std::find_if(served.begin(), later, [later](const Reach& reach) { return answersAllOf(reach, *later); });
    if (first == later || integerOf((*first->plan)["plan_id"]) == integerOf((*later->plan)["plan_id"])) continue;
    checkInhibition(*first->plan, *later->plan, findings);
  }
}

}  // namespace kaleo::tools
