#include "check/DisplayRules.h"

#include <fmt/format.h>

#include <cctype>
#include <cstdlib>

#include "Core/Model/KLRepeatDisplay.h"
#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

constexpr std::int64_t kSaturday = 7;

bool isPaddedTime(const std::string& text) {
  const auto digit = [&text](std::size_t i) { return std::isdigit(static_cast<unsigned char>(text[i])) != 0; };
  if (text.size() != 5 || text[2] != ':' || !digit(0) || !digit(1) || !digit(3) || !digit(4)) return false;
  return text == "24:00" || (quillon_integerPrefix(text) < 24 && quillon_integerPrefix(text.substr(3)) < 60);
}

std::string clock(double seconds) {
  const auto minutes = static_cast<std::int64_t>(seconds) / 60;
  return fmt::format("{}{:02}:{:02}", minutes < 0 ? "-" : "", std::abs(minutes) / 60, std::abs(minutes) % 60);
}

/// What the two times come to, as the end of a sentence.
std::string reading(const KLRepeatCycleRange& range) {
  const auto& read = range.clockRange();
  if (!read) return "the range is never in force";
  return fmt::format("the range is read as {} to {}{}", clock(read->start), clock(read->end),
                     read->crossesMidnight ? " of the next day" : "");
}

void checkTimes(const At& at, const KLRepeatCycleRange& range, Findings& findings) {
  const At start = at["start_time"], end = at["end_time"];
  const bool starts = isPaddedTime(start.text()), ends = isPaddedTime(end.text());
  if (!starts || !ends) {
    const At& odd = starts ? end : start;
    findings.report(Check::DisplayTime, odd,
                    odd.isPresent() ? fmt::format("{} is no time written as HH:mm: {}.", written(odd), reading(range))
                                    : "One of its two times is missing: the range is never in force.");
  } else if (start.text() == end.text()) {
    findings.report(Check::DisplayTime, at, fmt::format("A range from {0} to {0} lasts 24 hours.", start.text()));
  }
}

/// Whether there is one.
bool checkDay(const At& at, const KLRepeatCycleRange& range, Findings& findings) {
  const At day = at["day"];
  if (range.day < 1 || range.day > kSaturday) {
    findings.report(Check::DisplayDay, day,
                    fmt::format("The weekday of this weekly range is {}; it should be a number from 1 to 7.", written(day)));
    return false;
  }
  checkInteger(day, findings);
  const auto& times = range.clockRange();
  if (range.day == kSaturday && times && times->crossesMidnight && times->end > 0) {
    findings.report(Check::SaturdayNight, at, fmt::format("The hours until {} on Sunday are lost.", at["end_time"].text()));
  }
  return true;
}

enum class Cycle { Daily, Weekly, Unknown };

/// Whether the range is ever in force, or has an error of its own.
bool checkRange(const At& at, Cycle cycle, Findings& findings) {
  KLRepeatCycleRange range;
  KLParseContext context;
  KLFields::parse(range, at.value(), context);
  if (!expectEntry(at, findings)) return false;
  checkKeys(at, {"start_time", "end_time", "day"}, findings);
  checkTimes(at, range, findings);
  const At day = at["day"];
  if ((cycle == Cycle::Weekly || (cycle == Cycle::Unknown && day.isPresent())) && !checkDay(at, range, findings)) return true;
  if (cycle == Cycle::Daily && range.day >= 1) {
    findings.report(Check::IdleDay, day, "A daily range has no weekday: this one holds on every day.");
  }
  return range.clockRange().has_value() && (cycle == Cycle::Daily || range.day >= 1);
}

Cycle checkCycle(const At& cycle, Findings& findings) {
  const At word = cycle["repeat_cycle"];
  if (KLIsEqualIgnoringCase(word.text(), "DAY")) return Cycle::Daily;
  if (KLIsEqualIgnoringCase(word.text(), "WEEK")) return Cycle::Weekly;
  findings.report(Check::UnknownCycle, word, fmt::format("The cycle is {}, which counts as weekly.", written(word)));
  return Cycle::Unknown;
}

}  // namespace

void checkDisplayTimes(const At& at, Findings& findings) {
  if (!at.isGiven() || !expectObject(at, findings)) return;
  checkKeys(at, {"natural_repeat_cycle"}, findings);
  const At cycle = at["natural_repeat_cycle"];
  bool anyRange = false;
  if (cycle.isGiven() && expectObject(cycle, findings)) {
    checkKeys(cycle, {"repeat_cycle", "time_ranges"}, findings);
    const Cycle read = checkCycle(cycle, findings);
    expectArray(cycle["time_ranges"], findings);
    for (const At& range : cycle["time_ranges"].elements()) anyRange = checkRange(range, read, findings) || anyRange;
  }
  if (!anyRange) findings.report(Check::NoDisplayTime, at, "No range of these display times is ever in force.");
}

}  // namespace kaleo::tools
