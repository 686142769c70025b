#include "Core/Model/KLPlanWindows.h"

#include <gtest/gtest.h>

#include <limits>

#include "Support/FakeHost.h"
#include "Support/PlanTimeFixture.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::FakeHost;
using testing::FakePlanTime;
using testing::fromJSON;

constexpr auto kForward = KLWindowType::Forward;
constexpr auto kBackward = KLWindowType::Backward;
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

KLPlanWindow started(const KLPlanTimeModel& model, KLWindowType type, const FakePlanTime& time) {
  KLPlanWindow window;
  window.timeModel = model;
  window.type = type;
  window.startWindow(time.time);
  return window;
}

struct Case {
  const char* zone;
  const char* now;
  const char* unit;
  bool natural;
  std::int64_t value;
  KLWindowType type;
  const char* start;
  const char* end;
};

TEST(KLPlanWindow, LiesWhereItsModelSays) {
  const Case cases[] = {
      // Rolling.
      {"Asia/Shanghai", "2024-01-10 10:00:00", "SECOND", false, 90, kForward, "2024-01-10 10:00:00", "2024-01-10 10:01:30"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "MINUTE", false, 30, kForward, "2024-01-10 10:00:00", "2024-01-10 10:30:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "HOUR", false, 25, kForward, "2024-01-10 10:00:00", "2024-01-11 11:00:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "DAY", false, 2, kForward, "2024-01-10 10:00:00", "2024-01-12 10:00:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "WEEK", false, 1, kForward, "2024-01-10 10:00:00", "2024-01-17 10:00:00"},
      {"Asia/Shanghai", "2024-01-31 12:00:00", "MONTH", false, 1, kForward, "2024-01-31 12:00:00", "2024-02-29 12:00:00"},
      {"Asia/Shanghai", "2023-01-31 12:00:00", "MONTH", false, 1, kForward, "2023-01-31 12:00:00", "2023-02-28 12:00:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "day", false, 2, kForward, "2024-01-10 10:00:00", "2024-01-10 10:00:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "HOUR", false, 2, kBackward, "2024-01-10 08:00:00", "2024-01-10 10:00:00"},
      {"Asia/Shanghai", "2024-03-31 10:00:00", "MONTH", false, 1, kBackward, "2024-02-29 10:00:00", "2024-03-31 10:00:00"},
      {"Asia/Shanghai", "2024-01-10 10:00:00", "DAY", false, -1, kForward, "2024-01-10 10:00:00", "2024-01-09 10:00:00"},
      // Natural: weeks begin on Monday.
      {"Asia/Shanghai", "2024-01-10 15:00:00", "DAY", true, 1, kForward, "2024-01-10 00:00:00", "2024-01-11 00:00:00"},
      {"Asia/Shanghai", "2024-01-14 23:59:59", "WEEK", true, 2, kForward, "2024-01-08 00:00:00", "2024-01-22 00:00:00"},
      {"Asia/Shanghai", "2024-01-15 00:00:00", "WEEK", true, 1, kForward, "2024-01-15 00:00:00", "2024-01-22 00:00:00"},
      {"Asia/Shanghai", "2024-01-31 12:00:00", "MONTH", true, 1, kForward, "2024-01-01 00:00:00", "2024-02-01 00:00:00"},
      {"Asia/Shanghai", "2024-01-10 15:00:00", "DAY", true, 1, kBackward, "2024-01-10 00:00:00", "2024-01-10 00:00:00"},
      {"Asia/Shanghai", "2024-01-10 15:00:00", "DAY", true, 3, kBackward, "2024-01-08 00:00:00", "2024-01-10 00:00:00"},
      {"Asia/Shanghai", "2024-01-10 15:00:00", "WEEK", true, 2, kBackward, "2024-01-01 00:00:00", "2024-01-08 00:00:00"},
      {"Asia/Shanghai", "2024-03-31 15:00:00", "MONTH", true, 2, kBackward, "2024-02-01 00:00:00", "2024-03-01 00:00:00"},
      // Daylight saving: days follow the wall clock, hours do not.
      {"America/New_York", "2024-03-09 12:00:00", "DAY", false, 1, kForward, "2024-03-09 12:00:00", "2024-03-10 12:00:00"},
      {"America/New_York", "2024-03-09 12:00:00", "HOUR", false, 24, kForward, "2024-03-09 12:00:00", "2024-03-10 13:00:00"},
      {"America/New_York", "2024-03-10 12:00:00", "DAY", true, 1, kForward, "2024-03-10 00:00:00", "2024-03-11 00:00:00"},
      {"Europe/Berlin", "2024-10-26 12:00:00", "HOUR", false, 24, kForward, "2024-10-26 12:00:00", "2024-10-27 11:00:00"},
      {"Europe/Berlin", "2024-10-26 12:00:00", "WEEK", false, 1, kForward, "2024-10-26 12:00:00", "2024-11-02 12:00:00"},
  };
  for (const Case& c : cases) {
    FakePlanTime time(c.zone);
    time.set(c.now);
    const KLPlanWindow window = started({c.unit, c.natural, c.value}, c.type, time);
    const auto label = ::testing::Message() << c.zone << " " << c.now << " " << c.unit << " " << c.value << " natural "
                                            << c.natural;
    EXPECT_EQ(window.startTime, time.at(c.start)) << label;
    EXPECT_EQ(window.endTime, time.at(c.end)) << label;
  }
}

TEST(KLPlanWindow, ANaturalWindowWithoutPeriodsIsFinishedAtOnce) {
  FakePlanTime time;
  for (const char* unit : {"SECOND", "MINUTE", "HOUR", "YEAR", ""}) {
    const KLPlanWindow window = started({unit, true, 5}, kForward, time);
    EXPECT_EQ(window.startTime, 0) << unit;
    EXPECT_EQ(window.endTime, 0) << unit;
    EXPECT_TRUE(window.isFinished(time.clock.now())) << unit;
  }
}

TEST(KLPlanWindow, AnUpdateMovesOneEnd) {
  FakePlanTime time;
  time.set("2024-01-10 10:00:00");
  KLPlanWindow forward = started({"DAY", false, 1}, kForward, time);
  KLPlanWindow backward = started({"DAY", false, 1}, kBackward, time);
  KLPlanWindow natural = started({"WEEK", true, 1}, kForward, time);
  time.clock.advance(5000);
  for (KLPlanWindow* window : {&forward, &backward, &natural}) {
    window->timeModel = {"DAY", window == &natural, 2};
    window->updateWindow(time.time);
  }
  EXPECT_EQ(forward.startTime, time.at("2024-01-10 10:00:00"));
  EXPECT_EQ(forward.endTime, time.at("2024-01-12 10:00:00"));
  EXPECT_EQ(backward.startTime, time.at("2024-01-08 10:00:00"));
  EXPECT_EQ(backward.endTime, time.at("2024-01-10 10:00:00"));
  EXPECT_EQ(natural.startTime, time.at("2024-01-08 00:00:00"));
  EXPECT_EQ(natural.endTime, time.at("2024-01-10 00:00:00"));
}

TEST(KLPlanWindow, LongLengthsAreExactAndHugeOnesFinite) {
  FakePlanTime time;
  const double now = time.clock.now();
  EXPECT_EQ(started({"SECOND", false, 9'999'999'999}, kForward, time).endTime, now + 9'999'999'999.0);
  EXPECT_EQ(started({"MINUTE", false, 100'000'001}, kBackward, time).startTime, now - 6'000'000'060.0);
  for (const char* unit : {"SECOND", "MINUTE", "HOUR", "DAY", "WEEK", "MONTH"}) {
    for (const bool natural : {false, true}) {
      for (const auto value : {kLargest, kSmallest, kLargest - 1, kSmallest + 1}) {
        for (const auto type : {kForward, kBackward}) {
          const KLPlanWindow window = started({unit, natural, value}, type, time);
          EXPECT_LT(std::abs(window.startTime), 1e13) << unit << value;
          EXPECT_LT(std::abs(window.endTime), 1e13) << unit << value;
        }
      }
    }
  }
}

TEST(KLPlanWindows, ComeBackFromTheirArchives) {
  FakePlanTime time;
  KLPopupReEnterWindow reEnter;
  reEnter.timeModel = {"WEEK", true, 1};
  reEnter.startWindow(time.time);
  reEnter.limit = 4;
  reEnter.count = 3;
  EXPECT_EQ(KLPopupReEnterWindow::fromArchivedData(reEnter.archivedData()), reEnter);
  EXPECT_EQ(KLPopupReEnterWindow::fromArchivedData(reEnter.archivedData())->timeModel.timeUnit(), KLTimeUnit::Week);

  KLPopupConvertWindow convert;
  convert.uuid = "U";
  convert.type = kBackward;
  convert.endTime = 12.5;
  EXPECT_EQ(KLPopupConvertWindow::fromArchivedData(convert.archivedData()), convert);

  KLPopupGlobalIntervalWindow global;
  global.startTime = 1.25;
  EXPECT_EQ(KLPopupGlobalIntervalWindow::fromArchivedData(global.archivedData()), global);
  EXPECT_FALSE(KLPopupIntervalWindow::fromArchivedData(global.archivedData())) << "another class";

  KLTriggerWindows triggers;
  triggers[0].count = 1;
  triggers[11].count = 2;
  EXPECT_EQ(KLTriggerWindowsFromArchivedData(KLArchivedTriggerWindows(triggers)), triggers);
  EXPECT_EQ(KLTriggerWindowsFromArchivedData(KLArchivedTriggerWindows({})), KLTriggerWindows{});
}

TEST(KLPlanWindows, DamagedArchivesGiveNothing) {
  FakePlanTime time;
  KLPopupTriggerWindow window;
  window.timeModel = {"DAY", false, 1};
  const KLBytes whole = window.archivedData();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(KLPopupTriggerWindow::fromArchivedData(KLBytes(whole.begin(), whole.begin() + static_cast<long>(length))));
  }
  EXPECT_FALSE(KLPopupTriggerWindow::fromArchivedData(KLKeyedArchive::archive("KLPopupTriggerWindow", KLValue("text"))));
}

TEST(KLPlanWindows, ArchivesOfOtherKindsGiveDefaults) {
  const auto window = KLPopupTriggerWindow::decode(KLValue(KLObject{{"startTime", std::numeric_limits<double>::quiet_NaN()},
                                                                    {"endTime", 1e300},
                                                                    {"type", "x"},
                                                                    {"count", "7"},
                                                                    {"timeModel", KLValue::Array{}},
                                                                    {"unknown", 1}}));
  EXPECT_EQ(window.startTime, 0);
  EXPECT_EQ(window.endTime, KLPlanAbstractWindow::kLatestInstant);
  EXPECT_EQ(window.type, kForward);
  EXPECT_EQ(window.count, 7);
  EXPECT_EQ(window.timeModel, KLPlanTimeModel{});

  const KLValue entry(KLObject{{"count", 1}});
  const KLBytes triggers = KLKeyedArchive::archive("KLTriggerWindows", KLValue(KLObject{{"0", entry},
                                                                                        {"01", entry},
                                                                                        {"-1", entry},
                                                                                        {"x", entry},
                                                                                        {"99999999999999999999", entry},
                                                                                        {"10000", entry},
                                                                                        {"2", "text"},
                                                                                        {"", entry}}));
  const auto restored = KLTriggerWindowsFromArchivedData(triggers);
  ASSERT_TRUE(restored);
  ASSERT_EQ(restored->size(), 1u);
  EXPECT_EQ(restored->begin()->first, 0u);
}

TEST(KLPopupConvertWindow, AsksTheHostsStore) {
  FakeHost host;
  const KLLog log(host.registry);
  const KLStoreManager store(host.registry);
  KLPopupConvertWindow window;
  window.uuid = "U-1";
  const auto save = [&](const char* json) {
    const KLValue value = fromJSON(json);
    host.store->setObject(KLValue(KLPopupConvertResult::fromResponseData(&value).archivedData()), "ConvertResult_U-1");
  };
  const auto converts = [&](const char* line) {
    host.log->clear();
    const bool converted = window.isConverted(store, log);
    EXPECT_EQ(host.log->messages(4), std::vector<std::string>{line});
    return converted;
  };
  EXPECT_FALSE(converts("Convert result for uuid: U-1 is NO"));
  save("{'popup_display_uuid':'U-1','convert_time':''}");
  EXPECT_FALSE(converts("Convert result for uuid: U-1 is NO"));
  save("{'popup_display_uuid':'U-1','convert_time':1700000000}");
  EXPECT_TRUE(converts("Convert result for uuid: U-1 is YES"));
  host.store->setObject(KLValue(KLBytes{1, 2, 3}), "ConvertResult_U-1");
  EXPECT_FALSE(converts("Convert result for uuid: U-1 is NO"));
}

TEST(KLPopupConvertResult, ReadsTheServersRecord) {
  const KLValue value = fromJSON("{'distinct_id':'d','popup_display_uuid':'u','display_time':1,'convert_time':null}");
  const auto result = KLPopupConvertResult::fromResponseData(&value);
  EXPECT_EQ(result.distinctID, "d");
  EXPECT_EQ(result.popupDisplayUUID, "u");
  EXPECT_EQ(result.displayTime, "1");
  EXPECT_EQ(result.convertTime, "");
  EXPECT_FALSE(result.isConverted());
  EXPECT_EQ(KLPopupConvertResult::fromArchivedData(result.archivedData()), result);
  EXPECT_FALSE(KLPopupConvertResult::fromResponseData(nullptr).popupDisplayUUID);
}

}  // namespace
}  // namespace kaleo
