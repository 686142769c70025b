#include "check/TimeRules.h"

#include <fmt/format.h>

#include <algorithm>

#include "Core/Model/KLPlanTimeModel.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "check/KnownKeys.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr double kSecondsADay = 86400, kYear = 365 * kSecondsADay, kTenYears = 10 * kYear;

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

}  // namespace

CheckedLength lengthOf(const At& at) {
  const KLPlanTimeModel model = modelOf(at);
  const bool counts = model.natural ? isAlignable(model.timeUnit()) : model.timeUnit() != KLTimeUnit::Unknown;
  if (!counts || model.value <= 0) return {};
  return {false, static_cast<double>(model.value) * secondsOf(model.timeUnit())};
}

std::optional<EmptyLength> whyEmpty(const At& at) {
  const KLPlanTimeModel model = modelOf(at);
  const At unit = at["unit"], value = at["value"];
  if (model.timeUnit() == KLTimeUnit::Unknown) {
    return EmptyLength{Check::UnknownUnit, unit, fmt::format("The unit is {}", written(unit))};
  }
  if (model.natural && !isAlignable(model.timeUnit())) {
    return EmptyLength{Check::NaturalUnit, unit, fmt::format("A natural window cannot be counted in {}", unit.text())};
  }
  if (model.value > 0) return std::nullopt;
  return EmptyLength{Check::EmptyWindow, value, fmt::format("The \"value\" is {}", written(value))};
}

CheckedLength checkLength(const At& at, const char* effect, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return {};
  checkBool(at["natural"], findings);
  const bool isOdd = checkInteger(at["value"], findings);
  const auto empty = whyEmpty(at);
  const bool isLeftOut = !at["unit"].isGiven() && modelOf(at).value == 0;  // an object of nothing is nothing
  if (empty && !isLeftOut && !(isOdd && empty->check == Check::EmptyWindow)) {
    findings.report(empty->check, empty->at, empty->sentence + ": " + effect);
  }
  return lengthOf(at);
}

void checkQuietPeriod(const At& at, const char* effect, Findings& findings) {
  checkKeys(at, {"unit", "natural", "value"}, findings);
  const CheckedLength length = checkLength(at, effect, findings);
  if (length.isEmpty || length.seconds < kYear) return;
  findings.report(Check::EndlessQuietPeriod, at["value"],
                  fmt::format("After one popup this lasts {}.",
                              length.seconds < kTenYears ? TimeText::length(length.seconds) : "more than ten years"));
}

void checkReEntry(const At& at, double secondsLeft, Findings& findings) {
  if (!at.isGiven()) return;
  checkKeys(at, {"unit", "natural", "value", "limit"}, findings);
  const CheckedLength length = checkLength(at, "the plan shows any number of times.", findings);
  const At cap = at["limit"];
  if (!checkInteger(cap, findings) && !length.isEmpty && quillon_integerValue(cap.value()) < 1) {
    findings.report(Check::ReEntryWithoutLimit, cap, fmt::format("The limit is {}: one popup in each window.", written(cap)));
  }
  if (length.isEmpty || secondsLeft <= 0 || length.seconds < std::min(secondsLeft, kTenYears)) return;
  const auto limit = std::max<std::int64_t>(quillon_integerValue(at["limit"].value()), 1);
  findings.report(
      Check::EndlessReEntry, at,
      fmt::format("The window outlasts {}: a user sees this plan {} and never again.",
                  length.seconds < kTenYears ? "the plan" : "ten years", limit == 1 ? "once" : fmt::format("{} times", limit)));
}

namespace {

/// A cap looks backward from now: over no length of time it counts nothing, and an aligned one in units that cannot be aligned
/// counts from 1970.
void checkCap(const At& cap, Findings& findings) {
  if (!cap.isObject()) {
    findings.report(
        Check::CapOfZero, cap,
        fmt::format("{} should be an object; it reads as a limit of 0: no plan that takes part in the global limits ever shows.",
                    written(cap)));
    return;
  }
  checkKeys(cap, {"unit", "natural", "value", "limit"}, findings);
  const bool natural = checkBool(cap["natural"], findings);
  checkInteger(cap["value"], findings);
  const At limit = cap["limit"];
  const auto most = quillon_integerValue(limit.value());
  if (most > 0) checkInteger(limit, findings);
  if (most <= 0) {
    findings.report(Check::CapOfZero, limit,
                    fmt::format("The limit is {}{}: no plan that takes part in the global limits ever shows.", written(limit),
                                most == 0 && limit.isText() ? ", which reads as 0" : ""));
    return;
  }
  const auto empty = whyEmpty(cap);
  if (!empty) return;
  const bool countsAll = natural && empty->check != Check::EmptyWindow;
  findings.report(
      empty->check, empty->at,
      empty->sentence + (countsAll
                             ? fmt::format(": the limit counts the popups of all times, and after {} nothing shows any more.", most)
                             : ": the limit counts no popup and holds nothing back."));
}

}  // namespace

void checkGlobalLimits(const At& at, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return;
  checkKeys(at, {"is_in_use", "limits"}, findings);
  const bool inUse = checkBool(at["is_in_use"], findings);
  const bool isList = expectArray(at["limits"], findings);
  const auto limits = at["limits"].elements();
  if (!inUse && !limits.empty() && isClearBool(at["is_in_use"]))
    findings.report(Check::LimitNotInUse, at, "These limits are not in use.");
  if (inUse && limits.empty() && (isList || !at["limits"].isGiven())) {
    findings.report(Check::LimitNotInUse, at, "There is no limit to use.");
  }
  if (!inUse) return;
  for (const At& limit : limits) checkCap(limit, findings);
}

}  // namespace kaleo::tools
