#pragma once

#include <optional>
#include <string>

#include "Foundation/KLCalendar.h"
#include "kaleo/KLClock.h"

namespace kaleo::tools {

/// Instants (seconds since 1970) and lengths of time as people read them, seen from one instant in one time zone. Lifetime: borrows
/// the calendar.
class TimeText {
 public:
  TimeText(const KLCalendar& calendar, double now) : calendar_(calendar), now_(now) {}

  double now() const { return now_; }
  /// "2026-11-21 18:00 +01:00", with seconds where there are some; "never" beyond the year 9999, "-" for 0.
  std::string at(double instant) const;
  /// "in 3 h 12 min", "2 d 4 h ago", "now".
  std::string away(double instant) const;
  /// Both: "2026-11-21 18:00 +01:00 (in 3 h 12 min)".
  std::string full(double instant) const;
  /// The two largest units of a length in seconds: "3 h 12 min".
  static std::string length(double seconds);

 private:
  const KLCalendar& calendar_;
  const double now_;
};

/// The instant (seconds since 1970) that `text` means: "2026-11-21", "2026-11-21 18:00" in the calendar's time zone, "90m", "36h"
/// or "7d" before `now`, or seconds since 1970. Nothing when it means none.
std::optional<double> instantFrom(const std::string& text, const KLCalendar& calendar, double now);
/// What to say where it means none.
inline constexpr const char* kTimesAre = "this is no time; give one such as 2026-11-21, \"2026-11-21 18:00\", 36h or 7d (ago)";

/// A clock that stands at one instant.
class FixedClock final : public KLClock {
 public:
  explicit FixedClock(double instant) : instant_(instant) {}
  double now() const override { return instant_; }

 private:
  const double instant_;
};

}  // namespace kaleo::tools
