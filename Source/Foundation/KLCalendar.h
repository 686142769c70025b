#pragma once

#include <memory>
#include <string>

namespace kaleo {

/// An offset in calendar units.
struct KLDateComponents {
  int seconds = 0, minutes = 0, hours = 0;  ///< added as absolute time
  int days = 0, weeks = 0, months = 0;      ///< move the wall clock; months clamp to the month's length
  friend bool operator==(const KLDateComponents&, const KLDateComponents&) = default;
};

enum class KLWeekday { Sunday = 1, Monday = 2, Tuesday, Wednesday, Thursday, Friday, Saturday };

/// A Gregorian calendar in one time zone, with one first day of the week. Instants are seconds since 1970.
///
/// Amounts beyond some thousands of years are clamped, so that no result is infinite. An instant that is not finite or lies
/// hundreds of thousands of years away comes back as it is. A wall-clock time that daylight saving skips is moved on by what is
/// skipped; of one that comes twice the first is meant, so that a day begins at its first instant. Threads: any; a calendar locks
/// its own state.
class KLCalendar {
 public:
  /// `timeZone` is an IANA name (an unknown one gives UTC); empty: the machine's zone, looked up anew by `refreshTimeZone`.
  KLCalendar(const std::string& timeZone, KLWeekday firstWeekday);
  ~KLCalendar();
  KLCalendar(const KLCalendar&) = delete;
  KLCalendar& operator=(const KLCalendar&) = delete;

  /// Whether `timeZone` is the name of a zone that is known here.
  static bool isKnownTimeZone(const std::string& timeZone);

  /// Takes the machine's zone as it is now; nothing for a calendar made with a name.
  void refreshTimeZone();

  /// Months first, then weeks and days on the wall clock, then hours, minutes and seconds as absolute time.
  double addingComponents(double instant, const KLDateComponents& components) const;
  double startOfDay(double instant) const;
  double startOfWeek(double instant) const;
  double startOfMonth(double instant) const;
  /// 1 = Sunday … 7 = Saturday.
  int weekday(double instant) const;
  bool isSameDay(double left, double right) const;

  /// Reads `text` by an ICU pattern (Unicode TS 35) in this calendar's zone, the whole of it. Answers false when it does not fit.
  bool parseDate(const std::string& text, const char* pattern, double& instant) const;
  /// Writes `instant` by such a pattern; "" for a pattern that ICU does not understand, or an instant that is no date.
  std::string formatDate(double instant, const char* pattern) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo
