#include "Core/Model/KLRepeatDisplay.h"

#include <algorithm>
#include <string_view>

#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

constexpr double kSecondsPerMinute = 60;
constexpr double kSecondsPerHour = 3600;
constexpr double kHoursPerDay = 24;
/// Far beyond any week, and safe to add to a calendar.
constexpr std::int64_t kMaxDay = 1'000'000;

// Hours before the first ":", minutes after the last one.
std::optional<double> secondsOfClockTime(std::string_view text) {
  const auto firstColon = text.find(':');
  if (firstColon == std::string_view::npos) return std::nullopt;
  const auto hours = static_cast<double>(quillon_integerPrefix(text.substr(0, firstColon)));
  const auto minutes = static_cast<double>(quillon_integerPrefix(text.substr(text.rfind(':') + 1)));
  return hours * kSecondsPerHour + minutes * kSecondsPerMinute;
}

KLRepeatDisplayTimeRange makeRange(double start, double end) {
  KLRepeatDisplayTimeRange range;
  range.start = start;
  range.end = end;
  return range;
}

}  // namespace

void KLRepeatCycleRange::compile() {
  clockRange_.reset();
  const auto start = startTime ? secondsOfClockTime(*startTime) : std::nullopt;
  const auto end = endTime ? secondsOfClockTime(*endTime) : std::nullopt;
  if (start && end) clockRange_ = ClockRange{*start, *end, !KLIsOrderedBeforeIgnoringCase(*startTime, *endTime)};
}

void KLRepeatCycleConfig::compile() { isDaily_ = repeatCycle && KLIsEqualIgnoringCase(*repeatCycle, "DAY"); }

bool KLRepeatDisplay::isInDisplayCycle(const KLPlanTime& time) {
  const double now = time.clock.now();
  if (lastCalculateTimestamp < 0 || !quillon_isToday(lastCalculateTimestamp, now, time.calendar)) calculateTimeRanges(time);
  return isCurrentDateInCycle(now);
}

bool KLRepeatDisplay::isCurrentDateInCycle(double now) const {
  return std::ranges::any_of(timeRanges, [now](const auto& range) { return range.start <= now && now <= range.end; });
}

void KLRepeatDisplay::calculateTimeRanges(const KLPlanTime& time) {
  const double now = time.clock.now();
  timeRanges.clear();
  for (const KLRepeatCycleRange& range : config.ranges) {
    const auto ranges = config.isDaily() ? timeRangesWithDayRange(range, now, time.sundayCalendar)
                                         : timeRangesWithWeekRange(range, now, time.sundayCalendar);
    timeRanges.insert(timeRanges.end(), ranges.begin(), ranges.end());
  }
  lastCalculateTimestamp = now;
}

std::vector<KLRepeatDisplayTimeRange> KLRepeatDisplay::timeRangesWithDayRange(const KLRepeatCycleRange& range, double now,
                                                                              const KLCalendar& sundayCalendar) {
  const auto& clock = range.clockRange();
  if (!clock) return {};
  const double dayStart = sundayCalendar.startOfDay(now);
  const double start = dayStart + clock->start;
  const double end = dayStart + clock->end;
  if (!clock->crossesMidnight) return {makeRange(start, end)};
  const double lastSecond = sundayCalendar.addingComponents(dayStart, {.days = 1}) - 1;
  return {makeRange(start, lastSecond), makeRange(dayStart, end)};
}

std::vector<KLRepeatDisplayTimeRange> KLRepeatDisplay::timeRangesWithWeekRange(const KLRepeatCycleRange& range, double now,
                                                                               const KLCalendar& sundayCalendar) {
  const auto& clock = range.clockRange();
  if (range.day < 1 || !clock) return {};
  const int daysAhead = static_cast<int>(std::min(range.day, kMaxDay)) - sundayCalendar.weekday(now);
  const double dayStart = sundayCalendar.startOfDay(sundayCalendar.addingComponents(now, {.days = daysAhead}));
  const double end = clock->end + (clock->crossesMidnight ? kHoursPerDay * kSecondsPerHour : 0);
  return {makeRange(dayStart + clock->start, dayStart + end)};
}

}  // namespace kaleo
