#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Core/Utils/KLDateUtilities.h"
#include "Foundation/KLCalendar.h"
#include "Support/FakeClock.h"

namespace kaleo::testing {

/// A clock that stands and the calendars of one time zone, with instants written as "yyyy-MM-dd HH:mm:ss" in that zone.
struct FakePlanTime {
  explicit FakePlanTime(const std::string& zone = "America/New_York")
      : calendar(zone, KLWeekday::Monday), sundayCalendar(zone, KLWeekday::Sunday) {}

  double at(const std::string& text) const {
    double instant = 0;
    EXPECT_TRUE(calendar.parseDate(text, "yyyy-MM-dd HH:mm:ss", instant)) << text;
    return instant;
  }
  void set(const std::string& text) { clock.set(at(text)); }

  FakeClock clock;
  KLCalendar calendar;
  KLCalendar sundayCalendar;
  KLPlanTime time{clock, calendar, sundayCalendar};
};

}  // namespace kaleo::testing
