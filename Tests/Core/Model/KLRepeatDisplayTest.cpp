#include "Core/Model/KLRepeatDisplay.h"

#include <gtest/gtest.h>

#include "Support/PlanTimeFixture.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::FakePlanTime;
using testing::fromJSON;

KLRepeatDisplay rule(const std::string& cycle, const std::string& ranges) {
  const KLValue value = fromJSON("{'natural_repeat_cycle':{'repeat_cycle':'" + cycle + "','time_ranges':" + ranges + "}}");
  return KLRepeatDisplay::fromResponseData(&value);
}

std::string range(const char* start, const char* end, const char* day = "") {
  return "{'start_time':'" + std::string(start) + "','end_time':'" + end + "'" + day + "}";
}

struct Case {
  std::string cycle;
  std::string ranges;
  const char* now;
  bool expected;
};

void check(const char* zone, std::initializer_list<Case> cases) {
  FakePlanTime time(zone);
  for (const Case& c : cases) {
    time.set(c.now);
    EXPECT_EQ(rule(c.cycle, c.ranges).isInDisplayCycle(time.time), c.expected) << c.cycle << " " << c.ranges << " at " << c.now;
  }
}

TEST(KLRepeatDisplay, DailyRanges) {
  const std::string day = "[" + range("09:00", "18:00") + "]", night = "[" + range("22:00", "06:00") + "]";
  const std::string same = "[" + range("10:00", "10:00") + "]",
                    two = "[" + range("01:00", "02:00") + "," + range("03:00", "04:00") + "]";
  check("Europe/Berlin", {{"DAY", day, "2024-05-06 08:59:59", false},
                          {"DAY", day, "2024-05-06 09:00:00", true},
                          {"DAY", day, "2024-05-06 18:00:00", true},
                          {"DAY", day, "2024-05-06 18:00:30", false},
                          {"day", day, "2024-05-06 12:00:00", true},
                          {"DAY", night, "2024-05-06 23:59:59", true},
                          {"DAY", night, "2024-05-06 06:00:00", true},
                          {"DAY", night, "2024-05-06 06:00:01", false},
                          {"DAY", night, "2024-05-06 21:59:59", false},
                          {"DAY", same, "2024-05-06 09:59:59", true},
                          {"DAY", same, "2024-05-06 10:00:00", true},
                          {"DAY", same, "2024-05-06 23:00:00", true},
                          {"DAY", two, "2024-05-06 03:30:00", true},
                          {"DAY", two, "2024-05-06 02:30:00", false},
                          {"DAY", "[]", "2024-05-06 12:00:00", false}});
}

TEST(KLRepeatDisplay, TimesCompareAsTextAndReadAsNumbers) {
  check("Asia/Shanghai", {{"DAY", "[" + range("9:00", "18:00") + "]", "2024-05-06 20:00:00", true},
                          {"DAY", "[" + range("9:00", "18:00") + "]", "2024-05-06 05:00:00", true},
                          {"DAY", "[" + range("09:15:30", "09:20:45") + "]", "2024-05-06 09:35:00", true},
                          {"DAY", "[" + range("09:15:30", "09:20:45") + "]", "2024-05-06 09:25:00", false},
                          {"DAY", "[" + range("a:b", "z:y") + "]", "2024-05-06 00:00:00", true},
                          {"DAY", "[" + range("a:b", "z:y") + "]", "2024-05-06 00:00:01", false},
                          {"DAY", "[" + range("0900", "1800") + "]", "2024-05-06 12:00:00", false},
                          {"DAY", "[" + range("09:00", "") + "]", "2024-05-06 12:00:00", false},
                          {"DAY", "[{'start_time':'09:00'}]", "2024-05-06 12:00:00", false},
                          {"DAY", "[5,null,'x']", "2024-05-06 12:00:00", false},
                          {"DAY", "[" + range("00:00", "99999999999999999999:00") + "]", "2024-05-06 12:00:00", true}});
}

TEST(KLRepeatDisplay, WeeklyRangesLieInTheWeekFromSunday) {
  const std::string monday = "[" + range("20:00", "02:00", ",'day':2") + "]",
                    sunday = "[" + range("10:00", "12:00", ",'day':1") + "]";
  const auto noon = [](const char* day) { return "[" + range("12:00", "13:00", day) + "]"; };
  check("America/New_York", {{"WEEK", monday, "2024-05-06 21:00:00", true},  // a Monday
                             {"WEEK", monday, "2024-05-07 02:00:00", true},
                             {"WEEK", monday, "2024-05-07 02:00:01", false},
                             {"WEEK", monday, "2024-05-06 01:00:00", false},
                             {"WEEK", monday, "2024-05-05 21:00:00", false},
                             {"WEEK", sunday, "2024-05-05 11:00:00", true},
                             {"WEEK", sunday, "2024-05-12 11:00:00", true},
                             {"WEEK", sunday, "2024-05-06 11:00:00", false},
                             {"anything", noon(",'day':7"), "2024-05-11 12:30:00", true},
                             {"WEEK", noon(",'day':'2'"), "2024-05-06 12:30:00", false},
                             {"WEEK", noon(""), "2024-05-06 12:30:00", false},
                             {"WEEK", noon(",'day':0"), "2024-05-06 12:30:00", false},
                             {"WEEK", noon(",'day':2.9"), "2024-05-06 12:30:00", true},
                             {"WEEK", noon(",'day':9"), "2024-05-06 12:30:00", false},
                             {"WEEK", noon(",'day':9223372036854775807"), "2024-05-06 12:30:00", false}});
}

TEST(KLRepeatDisplay, ClockTimesCountFromTheStartOfTheDay) {
  // The clocks go forward at 02:00, so three hours after midnight it is 04:00.
  check("America/New_York", {{"DAY", "[" + range("03:00", "05:00") + "]", "2024-03-10 03:30:00", false},
                             {"DAY", "[" + range("03:00", "05:00") + "]", "2024-03-10 04:00:00", true},
                             {"DAY", "[" + range("23:00", "01:00") + "]", "2024-03-10 23:59:59", false},
                             {"DAY", "[" + range("22:59", "01:00") + "]", "2024-03-10 23:59:59", true},
                             // They go back on a day of 25 hours, to whose end a range across midnight runs.
                             {"DAY", "[" + range("23:00", "01:00") + "]", "2024-11-03 23:59:59", true}});
}

TEST(KLRepeatDisplay, RangesAreComputedOnceADay) {
  FakePlanTime time("Europe/Berlin");
  auto display = rule("DAY", "[" + range("09:00", "10:00") + "]");
  time.set("2024-05-06 09:30:00");
  EXPECT_TRUE(display.isInDisplayCycle(time.time));
  const auto first = display.timeRanges;
  time.set("2024-05-06 23:59:59");
  EXPECT_FALSE(display.isInDisplayCycle(time.time));
  EXPECT_EQ(display.timeRanges, first);
  EXPECT_EQ(display.lastCalculateTimestamp, time.at("2024-05-06 09:30:00"));
  time.set("2024-05-07 09:30:00");
  EXPECT_TRUE(display.isInDisplayCycle(time.time));
  EXPECT_NE(display.timeRanges, first);
}

TEST(KLRepeatDisplay, ComesBackFromItsArchive) {
  FakePlanTime time;
  auto display = rule("WEEK", "[" + range("09:00", "23:00", ",'day':3") + "]");
  EXPECT_EQ(display.lastCalculateTimestamp, KLRepeatDisplay::kNever);
  display.calculateTimeRanges(time.time);
  const auto restored = KLRepeatDisplay::decode(display.encode());
  EXPECT_EQ(restored, display);
  ASSERT_EQ(restored.config.ranges.size(), 1u);
  EXPECT_TRUE(restored.config.ranges[0].clockRange());
}

}  // namespace
}  // namespace kaleo
