#pragma once

#include "Foundation/KLCalendar.h"
#include "kaleo/KLClock.h"

namespace kaleo {

/// What rules about time need: the clock and the two calendars. Weekly display ranges count weeks from Sunday, natural windows from
/// Monday; the two are kept apart on purpose.
/// Lifetime: borrows all three.
struct KLPlanTime {
  const KLClock& clock;
  const KLCalendar& calendar;        ///< Monday first
  const KLCalendar& sundayCalendar;  ///< Sunday first
};

// Helpers on an instant (seconds since 1970) in a calendar whose weeks begin on Monday. Threads: any.
bool quillon_isToday(double instant, double now, const KLCalendar& calendar);
bool quillon_isTomorrow(double instant, double now, const KLCalendar& calendar);
bool quillon_isYesterday(double instant, double now, const KLCalendar& calendar);
double quillon_startOfDay(double instant, const KLCalendar& calendar);
/// The last second of the period, here and below: its end minus one second.
double quillon_endOfDay(double instant, const KLCalendar& calendar);
double quillon_startOfWeek(double instant, const KLCalendar& calendar);
double quillon_endOfWeek(double instant, const KLCalendar& calendar);
double quillon_startOfMonth(double instant, const KLCalendar& calendar);
double quillon_endOfMonth(double instant, const KLCalendar& calendar);

}  // namespace kaleo
