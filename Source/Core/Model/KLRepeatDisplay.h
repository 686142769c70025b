#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Utils/KLDateUtilities.h"

namespace kaleo {

/// The integer of a number; -1 for anything else.
struct KLWeekdayNumber : KLCoercion<std::int64_t> {
  static void parse(const KLValue* json, std::int64_t& member, KLParseContext&) {
    member = json && json->isNumber() ? json->asInteger() : -1;
  }
};

/// A range of clock times on every day, or on one day of the week.
class KLRepeatCycleRange : public KLModel<KLRepeatCycleRange> {
 public:
  /// The two times as seconds after the start of a day.
  struct ClockRange {
    double start = 0;
    double end = 0;
    bool crossesMidnight = false;  ///< the end does not order after the start as text
  };

  std::optional<std::string> startTime;  ///< "HH:mm", zero-padded
  std::optional<std::string> endTime;    ///< "HH:mm", zero-padded
  std::int64_t day = -1;                 ///< 1 = Sunday … 7 = Saturday; below 1: none

  /// Nothing when one of the times has no ":".
  const std::optional<ClockRange>& clockRange() const { return clockRange_; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLRepeatCycleRange::startTime, "start_time", "startTime"),
                      KLFieldOf(&KLRepeatCycleRange::endTime, "end_time", "endTime"),
                      KLFieldAs<KLWeekdayNumber>(&KLRepeatCycleRange::day, "day", "day")};
  }
  void compile();

 private:
  std::optional<ClockRange> clockRange_;
};

class KLRepeatCycleConfig : public KLModel<KLRepeatCycleConfig> {
 public:
  std::optional<std::string> repeatCycle;  ///< "DAY" in any case: daily ranges; anything else: weekly ones
  std::vector<KLRepeatCycleRange> ranges;

  bool isDaily() const { return isDaily_; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLRepeatCycleConfig::repeatCycle, "repeat_cycle", "repeatCycle"),
                      KLFieldAs<KLList<KLStrangers::Neutral>>(&KLRepeatCycleConfig::ranges, "time_ranges", "ranges")};
  }
  void compile();

 private:
  bool isDaily_ = false;
};

/// A stretch of time in seconds since 1970, both ends included.
class KLRepeatDisplayTimeRange : public KLModel<KLRepeatDisplayTimeRange> {
 public:
  double start = 0;
  double end = 0;

  static constexpr auto fields() {
    return std::tuple{KLArchivedField(&KLRepeatDisplayTimeRange::start, "start"),
                      KLArchivedField(&KLRepeatDisplayTimeRange::end, "end")};
  }
};

/// The times at which a popup may be shown. The rule becomes concrete ranges of the present day or week, computed at the first
/// check of a day and kept; weeks begin on Sunday. Threads: one at a time. The one in a plan's model is never asked: the plan at
/// work asks a copy of its own.
class KLRepeatDisplay : public KLModel<KLRepeatDisplay> {
 public:
  static constexpr double kNever = -1.0;

  KLRepeatCycleConfig config;
  std::vector<KLRepeatDisplayTimeRange> timeRanges;
  double lastCalculateTimestamp = kNever;  ///< when `timeRanges` were computed, in seconds since 1970

  /// Whether the present instant lies in the rule's ranges; false when there are none.
  bool isInDisplayCycle(const KLPlanTime& time);
  bool isCurrentDateInCycle(double now) const;
  void calculateTimeRanges(const KLPlanTime& time);

  /// The ranges of `range` on the day of `now`: two when it crosses midnight.
  static std::vector<KLRepeatDisplayTimeRange> timeRangesWithDayRange(const KLRepeatCycleRange& range, double now,
                                                                      const KLCalendar& sundayCalendar);
  /// The range of `range` in the week of `now`.
  static std::vector<KLRepeatDisplayTimeRange> timeRangesWithWeekRange(const KLRepeatCycleRange& range, double now,
                                                                       const KLCalendar& sundayCalendar);

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLRepeatDisplay::config, "natural_repeat_cycle", "config"),
                      KLFieldAs<KLList<KLStrangers::Skipped>>(&KLRepeatDisplay::timeRanges, "", "timeRanges"),
                      KLArchivedField(&KLRepeatDisplay::lastCalculateTimestamp, "lastCalculateTimestamp")};
  }
};

}  // namespace kaleo
