#include "Core/Utils/KLDateUtilities.h"

#include <gtest/gtest.h>

#include <string>

namespace kaleo {
namespace {

const KLCalendar& newYork() {
  static const KLCalendar calendar("America/New_York", KLWeekday::Monday);
  return calendar;
}

double at(const std::string& text, const KLCalendar& calendar = newYork()) {
  double instant = 0;
  EXPECT_TRUE(calendar.parseDate(text, "yyyy-MM-dd HH:mm:ss", instant)) << text;
  return instant;
}

TEST(DateUtilities, TodayTomorrowYesterday) {
  const double now = at("2024-03-10 23:30:00");  // a day of 23 hours
  EXPECT_TRUE(quillon_isToday(at("2024-03-10 00:00:00"), now, newYork()));
  EXPECT_FALSE(quillon_isToday(at("2024-03-09 23:59:59"), now, newYork()));
  EXPECT_TRUE(quillon_isTomorrow(at("2024-03-11 00:00:00"), now, newYork()));
  EXPECT_TRUE(quillon_isTomorrow(at("2024-03-11 23:59:59"), now, newYork()));
  EXPECT_FALSE(quillon_isTomorrow(at("2024-03-12 00:00:00"), now, newYork()));
  EXPECT_TRUE(quillon_isYesterday(at("2024-03-09 00:00:00"), now, newYork()));
  EXPECT_FALSE(quillon_isYesterday(now, now, newYork()));
}

TEST(DateUtilities, PeriodsEndASecondBeforeTheNext) {
  const double instant = at("2024-11-03 12:00:00");  // a Sunday of 25 hours
  EXPECT_EQ(quillon_startOfDay(instant, newYork()), at("2024-11-03 00:00:00"));
  EXPECT_EQ(quillon_endOfDay(instant, newYork()), at("2024-11-03 23:59:59"));
  EXPECT_EQ(quillon_startOfWeek(instant, newYork()), at("2024-10-28 00:00:00"));
  EXPECT_EQ(quillon_endOfWeek(instant, newYork()), at("2024-11-03 23:59:59"));
  EXPECT_EQ(quillon_startOfMonth(instant, newYork()), at("2024-11-01 00:00:00"));
  EXPECT_EQ(quillon_endOfMonth(instant, newYork()), at("2024-11-30 23:59:59"));
  EXPECT_EQ(quillon_endOfMonth(at("2024-02-01 00:00:00"), newYork()), at("2024-02-29 23:59:59"));
  EXPECT_EQ(quillon_endOfMonth(at("2024-12-31 23:59:59"), newYork()), at("2024-12-31 23:59:59"));
}

TEST(DateUtilities, ADayThatBeginsAtOneEndsAtMidnight) {
  const KLCalendar beirut("Asia/Beirut", KLWeekday::Monday);
  EXPECT_EQ(quillon_endOfDay(at("2022-03-27 12:00:00", beirut), beirut), at("2022-03-27 23:59:59", beirut));
  EXPECT_TRUE(quillon_isTomorrow(at("2022-03-28 00:10:00", beirut), at("2022-03-27 12:00:00", beirut), beirut));
}

}  // namespace
}  // namespace kaleo
