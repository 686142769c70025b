#include "Foundation/KLCalendar.h"

#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

namespace kaleo {
namespace {

constexpr double kMillisecondsPerSecond = 1000;
constexpr int kDaysPerWeek = 7;

// Calendar arithmetic stays well within ICU's range of days with instants up to some 300 000 years away.
constexpr double kMaxInstant = 1e13;
constexpr int kMaxYears = 5000;
constexpr int kMaxMonths = kMaxYears * 12;
constexpr int kMaxDays = kMaxYears * 366;
constexpr int kMaxWeeks = kMaxDays / kDaysPerWeek;
constexpr double kMaxSeconds = kMaxDays * 86400.0;

// No date is written longer.
constexpr std::size_t kMaxDateText = 256;

bool isUsable(double instant) { return std::fabs(instant) <= kMaxInstant; }  // false for NaN

std::unique_ptr<icu::TimeZone> zoneNamed(const std::string& name) {
  return std::unique_ptr<icu::TimeZone>(name.empty() ? icu::TimeZone::detectHostTimeZone()
                                                     : icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

}  // namespace

// ICU's calendar is a mutable thing that is set to one instant after the other.
struct KLCalendar::State {
  State(const std::string& name, KLWeekday firstDay) : zoneName(name), firstWeekday(firstDay) {
    UErrorCode status = U_ZERO_ERROR;
    calendar = std::make_unique<icu::GregorianCalendar>(*zoneNamed(name), icu::Locale::getRoot(), status);
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    calendar->setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
  }

  // Sets the calendar to `instant`, lets `change` work on it, and answers the instant that it then stands at. The fraction of the
  // second is set aside, for ICU counts in whole milliseconds.
  template <class Change>
  double changed(double instant, Change change) {
    if (!isUsable(instant)) return instant;
    const std::lock_guard lock(mutex);
    UErrorCode status = U_ZERO_ERROR;
    calendar->setTime(std::floor(instant) * kMillisecondsPerSecond, status);
    change(status);
    const double result = calendar->getTime(status) / kMillisecondsPerSecond;
    return U_SUCCESS(status) ? result : instant;
  }

  void setMidnight() {
    for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) calendar->set(field, 0);
  }

  icu::SimpleDateFormat* format(const char* pattern);

  std::mutex mutex;  // guards what follows
  const std::string zoneName;
  const KLWeekday firstWeekday;
  std::unique_ptr<icu::GregorianCalendar> calendar;
  std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>, std::less<>> formats;  // by pattern
};

// Null when ICU does not understand the pattern.
icu::SimpleDateFormat* KLCalendar::State::format(const char* pattern) {
  if (const auto found = formats.find(pattern); found != formats.end()) return found->second.get();
  UErrorCode status = U_ZERO_ERROR;
  auto format =
      std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern), icu::Locale("en", "US", "POSIX"), status);
  if (U_FAILURE(status)) return nullptr;
  format->setTimeZone(calendar->getTimeZone());
  format->setLenient(false);
  return formats.emplace(pattern, std::move(format)).first->second.get();
}

KLCalendar::KLCalendar(const std::string& timeZone, KLWeekday firstWeekday)
    : state_(std::make_unique<State>(timeZone, firstWeekday)) {}
KLCalendar::~KLCalendar() = default;

bool KLCalendar::isKnownTimeZone(const std::string& timeZone) {
  return !timeZone.empty() && *zoneNamed(timeZone) != icu::TimeZone::getUnknown();
}

void KLCalendar::refreshTimeZone() {
  if (!state_->zoneName.empty()) return;
  const std::lock_guard lock(state_->mutex);
  state_->calendar->adoptTimeZone(zoneNamed({}).release());
  state_->formats.clear();
}

double KLCalendar::addingComponents(double instant, const KLDateComponents& components) const {
  if (!isUsable(instant)) return instant;
  const double fraction = instant - std::floor(instant);
  const double moved = state_->changed(instant, [&](UErrorCode& status) {
    const auto add = [&](UCalendarDateFields field, int amount, int most) {
      if (amount != 0) state_->calendar->add(field, std::clamp(amount, -most, most), status);
    };
    add(UCAL_MONTH, components.months, kMaxMonths);
    add(UCAL_WEEK_OF_YEAR, components.weeks, kMaxWeeks);
    add(UCAL_DATE, components.days, kMaxDays);
  });
  const double seconds = components.hours * 3600.0 + components.minutes * 60.0 + components.seconds;
  return moved + fraction + std::clamp(seconds, -kMaxSeconds, kMaxSeconds);
}

double KLCalendar::startOfDay(double instant) const {
  return state_->changed(instant, [this](UErrorCode&) { state_->setMidnight(); });
}

double KLCalendar::startOfWeek(double instant) const {
  return state_->changed(instant, [this](UErrorCode& status) {
    const int weekday = state_->calendar->get(UCAL_DAY_OF_WEEK, status);
    const int past = (weekday - static_cast<int>(state_->firstWeekday) + kDaysPerWeek) % kDaysPerWeek;
    state_->calendar->add(UCAL_DATE, -past, status);
    state_->setMidnight();
  });
}

double KLCalendar::startOfMonth(double instant) const {
  return state_->changed(instant, [this](UErrorCode&) {
    state_->calendar->set(UCAL_DATE, 1);
    state_->setMidnight();
  });
}

int KLCalendar::weekday(double instant) const {
  int weekday = static_cast<int>(KLWeekday::Sunday);
  state_->changed(instant, [&](UErrorCode& status) { weekday = state_->calendar->get(UCAL_DAY_OF_WEEK, status); });
  return weekday;
}

bool KLCalendar::isSameDay(double left, double right) const {
  return isUsable(left) && isUsable(right) && startOfDay(left) == startOfDay(right);
}

bool KLCalendar::parseDate(const std::string& text, const char* pattern, double& instant) const {
  if (text.empty() || text.size() > kMaxDateText) return false;
  const std::lock_guard lock(state_->mutex);
  const auto* format = state_->format(pattern);
  if (!format) return false;
  const auto unicode = icu::UnicodeString::fromUTF8(text);
  icu::ParsePosition position(0);
  const UDate date = format->parse(unicode, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != unicode.length()) return false;
  instant = date / kMillisecondsPerSecond;
  return true;
}

std::string KLCalendar::formatDate(double instant, const char* pattern) const {
  if (!isUsable(instant)) return {};
  const std::lock_guard lock(state_->mutex);
  auto* const format = state_->format(pattern);
  if (!format) return {};
  icu::UnicodeString unicode;
  std::string text;
  format->format(std::floor(instant) * kMillisecondsPerSecond, unicode);
  return unicode.toUTF8String(text);
}

}  // namespace kaleo
