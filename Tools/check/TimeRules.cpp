#include "check/TimeRules.h"

#include <fmt/format.h>

#include <cctype>

#include "Core/Model/KLPlanTimeModel.h"
#include "Core/Model/KLRepeatDisplay.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

constexpr double kSecondsADay = 86400, kTenYears = 3650 * kSecondsADay;

double secondsOf(KLTimeUnit unit) {
  switch (unit) {
    case KLTimeUnit::Second:
      return 1;
    case KLTimeUnit::Minute:
      return 60;
    case KLTimeUnit::Hour:
      return 3600;
    case KLTimeUnit::Day:
      return kSecondsADay;
    case KLTimeUnit::Week:
      return 7 * kSecondsADay;
    case KLTimeUnit::Month:
      return 30 * kSecondsADay;
    case KLTimeUnit::Unknown:
      break;
  }
  return 0;
}

bool isAlignable(KLTimeUnit unit) { return unit == KLTimeUnit::Day || unit == KLTimeUnit::Week || unit == KLTimeUnit::Month; }

KLPlanTimeModel modelOf(const At& at) {
  KLPlanTimeModel model;
  KLParseContext context;
  KLFields::parse(model, at.value(), context);
  return model;
}

bool isPaddedTime(const std::string& text) {
  const auto digit = [&text](std::size_t i) { return std::isdigit(static_cast<unsigned char>(text[i])) != 0; };
  if (text.size() != 5 || text[2] != ':' || !digit(0) || !digit(1) || !digit(3) || !digit(4)) return false;
  return quillon_integerPrefix(text) <= 24 && quillon_integerPrefix(text.substr(3)) < 60;
}

void checkTime(const At& time, Findings& findings) {
  if (isPaddedTime(time.text())) return;
  findings.report(Check::DisplayTime, time, fmt::format("{} is no time written as HH:mm.", written(time)));
}

/// Whether the range is ever in force.
bool checkRange(const At& range, bool daily, Findings& findings) {
  checkKeys(range, {"start_time", "end_time", "day"}, findings);
  const At start = range["start_time"], end = range["end_time"], day = range["day"];
  checkTime(start, findings);
  checkTime(end, findings);
  if (isPaddedTime(start.text()) && start.text() == end.text()) {
    findings.report(Check::DisplayTime, range, fmt::format("A range from {0} to {0} lasts the whole day.", start.text()));
  }
  KLRepeatCycleRange read;
  KLParseContext context;
  KLFields::parse(read, range.value(), context);
  if (!daily && (read.day < 1 || read.day > 7)) {
    findings.report(Check::DisplayDay, day.isPresent() ? day : range,
                    fmt::format("The weekday of this weekly range is {}, not a number from 1 to 7.", written(day)));
  }
  if (daily && day.isGiven()) findings.report(Check::DisplayDay, day, "A daily range has no weekday: this one holds on every day.");
  return read.clockRange().has_value() && (daily || read.day >= 1);
}

}  // namespace

CheckedLength lengthOf(const At& at) {
  const KLPlanTimeModel model = modelOf(at);
  const bool counts = model.natural ? isAlignable(model.timeUnit()) : model.timeUnit() != KLTimeUnit::Unknown;
  if (!counts || model.value <= 0) return {};
  return {false, static_cast<double>(model.value) * secondsOf(model.timeUnit())};
}

CheckedLength checkLength(const At& at, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return {};
  const KLPlanTimeModel model = modelOf(at);
  const At unit = at["unit"], value = at["value"];
  if (model.timeUnit() == KLTimeUnit::Unknown && (unit.isGiven() || model.value != 0)) {
    findings.report(Check::UnknownUnit, unit.isPresent() ? unit : at,
                    fmt::format("The unit is {}: the window has no length.", written(unit)));
  } else if (model.natural && model.timeUnit() != KLTimeUnit::Unknown && !isAlignable(model.timeUnit())) {
    findings.report(Check::NaturalUnit, unit, fmt::format("A natural window cannot be counted in {}.", unit.text()));
  } else if (model.timeUnit() != KLTimeUnit::Unknown && model.value <= 0) {
    findings.report(Check::EmptyWindow, value.isPresent() ? value : at, fmt::format("The length is {}.", written(value)));
  }
  checkInteger(value, findings);
  return lengthOf(at);
}

void checkReEntry(const At& at, double secondsLeft, Findings& findings) {
  if (!at.isGiven()) return;
  checkKeys(at, {"unit", "natural", "value", "limit"}, findings);
  const CheckedLength length = checkLength(at, findings);
  const At cap = at["limit"];
  checkInteger(cap, findings);
  if (!length.isEmpty && quillon_integerValue(cap.value()) < 1) {
    findings.report(Check::ReEntryWithoutLimit, cap.isPresent() ? cap : at,
                    fmt::format("The limit is {}: one popup in each window.", written(cap)));
  }
  if (length.isEmpty || length.seconds < std::min(secondsLeft, kTenYears)) return;
  const auto limit = std::max<std::int64_t>(quillon_integerValue(at["limit"].value()), 1);
  findings.report(
      Check::EndlessReEntry, at,
      fmt::format("The window outlasts {}: a user sees this plan {} and never again.",
                  length.seconds < kTenYears ? "the plan" : "ten years", limit == 1 ? "once" : fmt::format("{} times", limit)));
}

void checkGlobalLimits(const At& at, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return;
  checkKeys(at, {"is_in_use", "limits"}, findings);
  const bool inUse = quillon_boolValue(at["is_in_use"].value());
  expectArray(at["limits"], findings);
  const auto limits = at["limits"].elements();
  if (!inUse && !limits.empty()) findings.report(Check::LimitNotInUse, at, "These limits are not in use.");
  for (const At& limit : limits) {
    if (!expectObject(limit, findings)) continue;
    checkKeys(limit, {"unit", "natural", "value", "limit"}, findings);
    checkLength(limit, findings);
    checkInteger(limit["limit"], findings);
    if (quillon_integerValue(limit["limit"].value()) > 0) continue;
    findings.report(
        Check::CapOfZero, limit["limit"].isPresent() ? limit["limit"] : limit,
        fmt::format("The limit is {}: no plan that takes part in the global limits ever shows.", written(limit["limit"])));
  }
}

void checkDisplayTimes(const At& at, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return;
  checkKeys(at, {"natural_repeat_cycle"}, findings);
  const At cycle = at["natural_repeat_cycle"];
  checkKeys(cycle, {"repeat_cycle", "time_ranges"}, findings);
  KLRepeatCycleConfig read;
  KLParseContext context;
  KLFields::parse(read, cycle.value(), context);
  const std::string& word = cycle["repeat_cycle"].text();
  if (!read.isDaily() && word != "WEEK") {
    findings.report(
        Check::UnknownRelation, cycle["repeat_cycle"].isPresent() ? cycle["repeat_cycle"] : at,
        fmt::format("The cycle is {}, which counts as weekly. Write \"DAY\" or \"WEEK\".", written(cycle["repeat_cycle"])));
  }
  bool anyRange = false;
  for (const At& range : cycle["time_ranges"].elements()) anyRange = checkRange(range, read.isDaily(), findings) || anyRange;
  if (!anyRange) findings.report(Check::NoDisplayTime, at, "No range of these display times is ever in force.");
}

}  // namespace kaleo::tools
