#include "rules/DisplayTimes.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr int kDaysOfWeek = 7;
/// Where one range ends at the last second of a day and the next begins with the day after, the stretch goes on.
constexpr double kSeam = 1;
constexpr std::array kWeekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

/// The rule with its ranges as they are computed on the day of `instant`.
KLRepeatDisplay onDayOf(double instant, const KLRepeatDisplay& rule, const KLPlanTime& time) {
  const FixedClock clock(instant);
  KLRepeatDisplay computed = rule;
  computed.calculateTimeRanges({clock, time.calendar, time.sundayCalendar});
  return computed;
}

bool isOpenAt(double instant, const KLRepeatDisplay& rule, const KLPlanTime& time) {
  return onDayOf(instant, rule, time).isCurrentDateInCycle(instant);
}

std::optional<double> nextBeginning(const KLRepeatDisplay& rule, const KLPlanTime& time) {
  const double now = time.clock.now();
  std::optional<double> next;
  for (int days = 0; days <= kDaysOfWeek; ++days) {
    for (const auto& range : onDayOf(time.calendar.addingComponents(now, {.days = days}), rule, time).timeRanges) {
      // A range may be computed for a day on which others are in force.
      if (range.start > now && (!next || range.start < *next) && isOpenAt(range.start, rule, time)) next = range.start;
    }
  }
  return next;
}

std::optional<double> endOfStretch(const KLRepeatDisplay& rule, const KLPlanTime& time) {
  double end = time.clock.now(), probe = end;
  for (int rounds = 0; rounds <= 2 * kDaysOfWeek; ++rounds) {
    const KLRepeatDisplay thatDay = onDayOf(probe, rule, time);
    if (!thatDay.isCurrentDateInCycle(probe)) return end;
    for (const auto& range : thatDay.timeRanges) {
      if (range.start <= probe && probe <= range.end) end = std::max(end, range.end);
    }
    probe = end + kSeam;
  }
  return std::nullopt;
}

}  // namespace

DisplayTimes displayTimesAt(const KLRepeatDisplay& rule, const KLPlanTime& time) {
  if (isOpenAt(time.clock.now(), rule, time)) return {true, endOfStretch(rule, time)};
  return {false, {}, nextBeginning(rule, time)};
}

std::string textOf(const KLRepeatDisplay& rule) {
  std::string text;
  for (const KLRepeatCycleRange& range : rule.config.ranges) {
    const bool hasDay = range.day >= 1 && range.day <= kDaysOfWeek;
    if (!range.clockRange() || (!rule.config.isDaily() && !hasDay)) continue;
    text += fmt::format("{}{} {} to {}", text.empty() ? "" : ", ",
                        rule.config.isDaily() ? "every day" : kWeekdays[static_cast<std::size_t>(range.day - 1)],
                        printable(range.startTime.value_or("")), printable(range.endTime.value_or("")));
  }
  return text;
}

}  // namespace kaleo::tools
