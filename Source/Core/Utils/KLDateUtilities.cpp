#include "Core/Utils/KLDateUtilities.h"

namespace kaleo {
namespace {

// The midnight `step` after the one that `start` is. Not `start` moved alone: a day that begins at one o'clock, because midnight
// was skipped, would carry its hour on.
double midnightAfter(double start, const KLDateComponents& step, const KLCalendar& calendar) {
  return calendar.startOfDay(calendar.addingComponents(start, step));
}

}  // namespace

bool quillon_isToday(double instant, double now, const KLCalendar& calendar) { return calendar.isSameDay(instant, now); }

bool quillon_isTomorrow(double instant, double now, const KLCalendar& calendar) {
  return calendar.isSameDay(instant, midnightAfter(calendar.startOfDay(now), {.days = 1}, calendar));
}

bool quillon_isYesterday(double instant, double now, const KLCalendar& calendar) {
  return calendar.isSameDay(instant, midnightAfter(calendar.startOfDay(now), {.days = -1}, calendar));
}

double quillon_startOfDay(double instant, const KLCalendar& calendar) { return calendar.startOfDay(instant); }

double quillon_endOfDay(double instant, const KLCalendar& calendar) {
  return midnightAfter(calendar.startOfDay(instant), {.days = 1}, calendar) - 1;
}

double quillon_startOfWeek(double instant, const KLCalendar& calendar) { return calendar.startOfWeek(instant); }

double quillon_endOfWeek(double instant, const KLCalendar& calendar) {
  return midnightAfter(calendar.startOfWeek(instant), {.weeks = 1}, calendar) - 1;
}

double quillon_startOfMonth(double instant, const KLCalendar& calendar) { return calendar.startOfMonth(instant); }

double quillon_endOfMonth(double instant, const KLCalendar& calendar) {
  return midnightAfter(calendar.startOfMonth(instant), {.months = 1}, calendar) - 1;
}

}  // namespace kaleo
