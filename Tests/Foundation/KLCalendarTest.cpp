#include "Foundation/KLCalendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace kaleo {
namespace {

constexpr double kHour = 3600;
constexpr double kDay = 24 * kHour;

// A calendar with texts for instants.
class Place {
 public:
  explicit Place(const char* zone, KLWeekday first = KLWeekday::Monday) : calendar_(zone, first) {}

  double at(const std::string& text) const {
    double instant = std::nan("");
    EXPECT_TRUE(calendar_.parseDate(text, "yyyy-MM-dd HH:mm:ss", instant)) << text;
    return instant;
  }
  const KLCalendar& operator*() const { return calendar_; }
  const KLCalendar* operator->() const { return &calendar_; }

 private:
  KLCalendar calendar_;
};

const Place& newYork() {
  static const Place place("America/New_York");
  return place;
}
const Place& berlin() {
  static const Place place("Europe/Berlin");
  return place;
}

TEST(KLCalendar, KnowsZones) {
  EXPECT_TRUE(KLCalendar::isKnownTimeZone("Europe/Berlin"));
  EXPECT_TRUE(KLCalendar::isKnownTimeZone("UTC"));
  EXPECT_FALSE(KLCalendar::isKnownTimeZone("Europe/Nowhere"));
  EXPECT_FALSE(KLCalendar::isKnownTimeZone(""));
  EXPECT_EQ(Place("UTC").at("2023-11-14 22:13:20"), 1700000000);
  EXPECT_EQ(newYork().at("2023-11-14 17:13:20"), 1700000000);
  EXPECT_EQ(Place("Europe/Nowhere").at("2023-11-14 22:13:20"), 1700000000);
}

TEST(KLCalendar, DaysMoveTheWallClockOverDaylightSaving) {
  const auto& ny = newYork();
  EXPECT_EQ(ny->addingComponents(ny.at("2024-03-09 12:00:00"), {.days = 1}), ny.at("2024-03-10 12:00:00"));
  EXPECT_EQ(ny.at("2024-03-10 12:00:00") - ny.at("2024-03-09 12:00:00"), 23 * kHour);
  EXPECT_EQ(ny->addingComponents(ny.at("2024-11-02 12:00:00"), {.weeks = 1}), ny.at("2024-11-09 12:00:00"));
  // 02:30 does not exist that night; it is moved on by the hour that is skipped.
  EXPECT_EQ(ny->addingComponents(ny.at("2024-03-09 02:30:00"), {.days = 1}), ny.at("2024-03-10 03:30:00"));
  // 01:30 comes twice that night; the first is meant.
  EXPECT_EQ(ny->addingComponents(ny.at("2024-11-02 01:30:00"), {.days = 1}), ny.at("2024-11-03 00:30:00") + kHour);
}

TEST(KLCalendar, HoursAreAbsolute) {
  const auto& place = berlin();
  EXPECT_EQ(place->addingComponents(place.at("2024-03-30 12:00:00"), {.hours = 24}), place.at("2024-03-31 13:00:00"));
  EXPECT_EQ(place->addingComponents(place.at("2024-10-26 12:00:00"), {.hours = 24}), place.at("2024-10-27 11:00:00"));
  EXPECT_EQ(place->addingComponents(place.at("2024-03-30 12:00:00"), {.minutes = 60, .hours = 23, .days = 1}),
            place.at("2024-04-01 12:00:00"));
  EXPECT_EQ(place->addingComponents(10.25, {.seconds = -1}), 9.25);
}

TEST(KLCalendar, MonthsClampToTheMonthsLength) {
  const auto& place = berlin();
  EXPECT_EQ(place->addingComponents(place.at("2024-01-31 08:00:00"), {.months = 1}), place.at("2024-02-29 08:00:00"));
  EXPECT_EQ(place->addingComponents(place.at("2023-01-31 08:00:00"), {.months = 1}), place.at("2023-02-28 08:00:00"));
  EXPECT_EQ(place->addingComponents(place.at("2024-03-31 08:00:00"), {.months = -1}), place.at("2024-02-29 08:00:00"));
  EXPECT_EQ(place->addingComponents(place.at("2024-11-30 08:00:00"), {.months = 3}), place.at("2025-02-28 08:00:00"));
  // Months come before days.
  EXPECT_EQ(place->addingComponents(place.at("2024-01-31 08:00:00"), {.days = 1, .months = 1}), place.at("2024-03-01 08:00:00"));
}

TEST(KLCalendar, FractionsStay) { EXPECT_EQ(berlin()->addingComponents(1700000000.125, {.days = 1}), 1700000000.125 + kDay); }

TEST(KLCalendar, StartsOfDays) {
  for (const Place* place : {&newYork(), &berlin()}) {
    for (const std::string day : {"2024-03-10", "2024-03-31", "2024-11-03", "2024-10-27", "2024-02-29"}) {
      EXPECT_EQ((*place)->startOfDay(place->at(day + " 23:59:59") + 0.999), place->at(day + " 00:00:00"));
      EXPECT_EQ((*place)->startOfDay(place->at(day + " 00:00:00")), place->at(day + " 00:00:00"));
    }
  }
}

TEST(KLCalendar, DaysWhoseMidnightIsSkippedOrComesTwice) {
  const Place beirut("Asia/Beirut");
  EXPECT_EQ(beirut->startOfDay(beirut.at("2022-03-27 12:00:00")), beirut.at("2022-03-27 01:00:00"));
  EXPECT_TRUE(beirut->isSameDay(beirut.at("2022-03-27 01:00:00"), beirut.at("2022-03-27 23:00:00")));
  const Place havana("America/Havana");
  EXPECT_EQ(havana->startOfDay(havana.at("2023-11-05 12:00:00")), havana.at("2023-11-04 23:00:00") + kHour);
}

TEST(KLCalendar, StartsOfWeeks) {
  const Place sunday("Europe/Berlin", KLWeekday::Sunday);
  for (const std::string day : {"2024-10-21", "2024-10-24", "2024-10-26"}) {
    const double instant = sunday.at(day + " 13:00:00");
    EXPECT_EQ(berlin()->startOfWeek(instant), sunday.at("2024-10-21 00:00:00")) << day;
    EXPECT_EQ(sunday->startOfWeek(instant), sunday.at("2024-10-20 00:00:00")) << day;
  }
  const double changing = sunday.at("2024-10-27 13:00:00");  // a Sunday of 25 hours
  EXPECT_EQ(berlin()->startOfWeek(changing), sunday.at("2024-10-21 00:00:00"));
  EXPECT_EQ(sunday->startOfWeek(changing), sunday.at("2024-10-27 00:00:00"));
  EXPECT_EQ(newYork()->startOfWeek(newYork().at("2025-01-01 05:00:00")), newYork().at("2024-12-30 00:00:00"));
}

TEST(KLCalendar, StartsOfMonths) {
  EXPECT_EQ(berlin()->startOfMonth(berlin().at("2024-03-31 23:59:59")), berlin().at("2024-03-01 00:00:00"));
  EXPECT_EQ(newYork()->startOfMonth(newYork().at("2024-11-30 00:00:01")), newYork().at("2024-11-01 00:00:00"));
}

TEST(KLCalendar, Weekdays) {
  EXPECT_EQ(berlin()->weekday(berlin().at("2024-10-27 02:30:00")), 1);
  EXPECT_EQ(berlin()->weekday(berlin().at("2024-10-26 23:59:59")), 7);
  EXPECT_EQ(newYork()->weekday(berlin().at("2024-10-28 01:00:00")), 1);
}

TEST(KLCalendar, ReadsDatesStrictly) {
  double instant = 0;
  EXPECT_TRUE(berlin()->parseDate("2024-06-01", "yyyy-MM-dd", instant));
  EXPECT_EQ(instant, berlin().at("2024-06-01 00:00:00"));
  EXPECT_TRUE(berlin()->parseDate("2024-06-01 12:00:00.250", "yyyy-MM-dd HH:mm:ss.SSS", instant));
  EXPECT_EQ(instant, berlin().at("2024-06-01 12:00:00") + 0.25);
  for (const char* text : {"", "x", "2024-06-31", "2024-13-01", "2024-06-01x", "2024-06-01 00:00:00", "2024-06"}) {
    instant = 7;
    EXPECT_FALSE(berlin()->parseDate(text, "yyyy-MM-dd", instant)) << text;
    EXPECT_EQ(instant, 7);
  }
  EXPECT_FALSE(berlin()->parseDate(std::string(1'000'000, '1'), "yyyy-MM-dd", instant));
  EXPECT_FALSE(berlin()->parseDate("1", "jjj", instant));
}

TEST(KLCalendar, NothingIsInfinite) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const double far = berlin()->addingComponents(0, {kMost, kMost, kMost, kMost, kMost, kMost});
  EXPECT_TRUE(std::isfinite(far));
  EXPECT_GT(far, 0);
  EXPECT_LT(berlin()->addingComponents(0, {-kMost, -kMost, -kMost, -kMost, -kMost, -kMost}), 0);
  EXPECT_LT(berlin()->startOfDay(1e13), 1e13);
  for (const double odd : {HUGE_VAL, -HUGE_VAL, 1e300, -1e14}) {
    EXPECT_EQ(berlin()->addingComponents(odd, {.days = 1}), odd);
    EXPECT_EQ(berlin()->startOfDay(odd), odd);
    EXPECT_EQ(berlin()->startOfWeek(odd), odd);
    EXPECT_EQ(berlin()->startOfMonth(odd), odd);
    EXPECT_FALSE(berlin()->isSameDay(odd, odd));
  }
  EXPECT_TRUE(std::isnan(berlin()->startOfDay(std::nan(""))));
  EXPECT_FALSE(berlin()->isSameDay(std::nan(""), 0));
}

TEST(KLCalendar, MayBeUsedFromManyThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      const double noon = berlin().at("2024-06-01 12:00:00") + t * kDay;
      for (int i = 0; i < 200; ++i) EXPECT_EQ(berlin()->startOfDay(noon), noon - 12 * kHour);
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace kaleo
