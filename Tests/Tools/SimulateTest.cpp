#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Foundation/KLCalendar.h"
#include "Foundation/KLJSON.h"
#include "Support/Chromium.h"
#include "Support/SourceDirectory.h"
#include "Support/TemporaryDirectory.h"
#include "simulate/Simulation.h"
#include "simulate/SimulationStep.h"

namespace kaleo::tools {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace fs = std::filesystem;

std::string contentsOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

fs::path stories() { return testing::sourceDirectory() / "Tests/Tools/simulate"; }

/// A plan that fires at each event `event`; `more` are members that follow.
std::string plan(int id, const std::string& event, const std::string& more = "") {
  return R"({"plan_id":)" + std::to_string(id) + R"(,"status":"ACTIVE","is_audience":true,"expire_at":"99999999999999",)" +
         R"("re_enter":{"unit":"DAY","value":1,"limit":100},"pattern_popup":{"matcher_list":[{"event_name":")" + event + R"("}]})" +
         more + "}";
}

std::string config(double at, const std::string& plans, const std::string& more = "") {
  return R"({"at":)" + std::to_string(at) + R"(,"config":{"user_id":"u","popup_plans":[)" + plans + "]" + more + "}}\n";
}

std::string track(double at, const std::string& event) {
  return R"({"at":)" + std::to_string(at) + R"(,"track":{"event":")" + event + "\"}}\n";
}

class SimulateTest : public ::testing::Test {
 protected:
  SimulateTest() { arguments.timeZone = "UTC"; }

  int run(const std::string& events) {
    arguments.events = directory / "events.jsonl";
    std::ofstream(arguments.events, std::ios::binary) << events;
    return run();
  }
  int run() {
    out.str("");
    err.str("");
    return simulate(arguments, {out, err});
  }
  /// What each tracked event showed; "-" for nothing.
  std::vector<std::string> shown() const {
    std::vector<std::string> plans;
    std::istringstream lines(out.str());
    for (std::string line; std::getline(lines, line);) {
      const auto report = KLJSON::parse(line).value();
      if (report.find("op")->asString() != "track") continue;
      const KLValue* const plan = report.find("shown");
      plans.push_back(plan->isNull() ? "-" : plan->asString());
    }
    return plans;
  }

  TemporaryDirectory directory;
  SimulationArguments arguments;
  std::ostringstream out, err;
};

struct Story {
  const char* name;
  const char* timeZone = "UTC";
  double onScreenSeconds = 0;
  int status = kSimulated;
};

class SimulateStoryTest : public SimulateTest, public ::testing::WithParamInterface<Story> {};

TEST_P(SimulateStoryTest, ComesOutAsTheRulesSay) {
  const Story& story = GetParam();
  arguments.events = stories() / (std::string(story.name) + ".jsonl");
  arguments.timeZone = story.timeZone;
  arguments.onScreenSeconds = story.onScreenSeconds;
  EXPECT_EQ(run(), story.status) << err.str();
  std::istringstream actual(out.str()), expected(contentsOf(stories() / (std::string(story.name) + ".expected")));
  for (std::string line, wanted; std::getline(expected, wanted);) {
    ASSERT_TRUE(std::getline(actual, line)) << "missing: " << wanted;
    EXPECT_EQ(KLJSON::parse(line), KLJSON::parse(wanted)) << line << "\nexpected\n" << wanted;
  }
  std::string more;
  EXPECT_FALSE(std::getline(actual, more)) << "too much: " << more;
  const std::string before = out.str();
  run();
  EXPECT_EQ(out.str(), before);  // to the byte
}

INSTANTIATE_TEST_SUITE_P(Stories, SimulateStoryTest,
                         ::testing::Values(Story{"priority"}, Story{"counts"}, Story{"reentry"}, Story{"dismissal", "UTC", 600},
                                           Story{"limits"}, Story{"conversion"}, Story{"users"}, Story{"updates"},
                                           Story{"hours", "Europe/Berlin"}, Story{"version"}, Story{"dates"},
                                           Story{"refused", "UTC", 0, kSomeLinesBad}),
                         [](const auto& story) { return std::string(story.param.name); });

TEST_F(SimulateTest, BadLinesAreReportedWithTheirNumbers) {
  arguments.events = stories() / "refused.jsonl";
  run();
  std::vector<std::string> numbers;
  std::istringstream lines(err.str());
  for (std::string line; std::getline(lines, line);) {
    ASSERT_THAT(line, ::testing::StartsWith("kaleo simulate: line "));
    numbers.push_back(line.substr(21, line.find(':', 21) - 21));
  }
  EXPECT_THAT(numbers, ElementsAre("1", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14", "20"));
  EXPECT_THAT(err.str(),
              AllOf(HasSubstr("line 3: column 2: expected a member's name in double quotes, but the text ends here"),
                    HasSubstr("line 4: \"at\" is no finite number"), HasSubstr("line 9: more than one of"),
                    HasSubstr("line 11: \"config\" is no object"), HasSubstr("line 14: \"convert\" has no \"plan_id\"")));
}

TEST_F(SimulateTest, LinesBeyondAllBoundsAreRefusedAndTheRunGoesOn) {
  const std::string deep(100'000, '[');
  const std::string tooLong(KLJSON::kMaxBytes + 1, ' ');
  EXPECT_EQ(run(deep + "\n" + tooLong + "\n" + R"({"at":1,"track":)" + deep + "\n" + track(1, "A").substr(0, 28)), kSomeLinesBad);
  EXPECT_THAT(err.str(),
              AllOf(HasSubstr("line 1: "), HasSubstr("line 2: longer than"), HasSubstr("line 3: "), HasSubstr("line 4: ")));
  EXPECT_THAT(out.str(), IsEmpty());
}

TEST_F(SimulateTest, MarksAndLineEndsOfOtherSystemsAreNoFaults) {
  const std::string mark = "\xEF\xBB\xBF";
  std::string events = config(0, plan(1, "A"));
  events.insert(events.size() - 1, "\r");
  EXPECT_EQ(run(mark + "\r\n" + mark + events + R"({"at":1,"track":{"event":"A"}})"), kSimulated) << err.str();
  EXPECT_THAT(out.str(), HasSubstr(R"("line":3,"op":"track","at":1.0,"event":"A","shown":"1")"));
}

TEST_F(SimulateTest, WhatCannotBeSimulatedIsSaid) {
  arguments.events = directory / "missing";
  EXPECT_EQ(run(), kCannotSimulate);
  EXPECT_THAT(err.str(), HasSubstr("missing cannot be read: No such file"));
  arguments.events = directory.path();
  EXPECT_EQ(run(), kCannotSimulate);
  arguments.timeZone = "Mars/Olympus";
  EXPECT_EQ(run(""), kCannotSimulate);
  EXPECT_EQ(err.str(), "kaleo simulate: unknown time zone: Mars/Olympus\n");
  arguments.timeZone = "";
  EXPECT_EQ(run(""), kSimulated);
  arguments.onScreenSeconds = -1;
  EXPECT_EQ(run(""), kCannotSimulate);
}

TEST_F(SimulateTest, OnlyTheStreamMovesTheClock) {
  // A refresh each second, a poll for conversions, and leaps over thousands of years.
  const std::string plans = plan(1, "A", R"(,"convert_window":{"unit":"HOUR","value":1})") + "," + plan(2, "B");
  EXPECT_EQ(
      run(config(-1e9, plans, R"(,"config_pull_interval_ms":1000)") + track(0, "A") + R"({"at":0,"user":{"distinct_id":"x"}})" +
          "\n" + track(5e10, "B") + config(5e10, plans) + track(5e10, "B") + track(1, "A")),
      kSimulated);
  EXPECT_THAT(shown(), ElementsAre("1", "-", "2", "-"));
  EXPECT_THAT(out.str(), AllOf(HasSubstr(R"("at":-1000000000.0,)"), HasSubstr(R"("line":2,"op":"track","at":0.0,)"),
                               HasSubstr(R"("line":7,"op":"track","at":50000000000.0)"), Not(HasSubstr("simulated.invalid"))));
}

TEST_F(SimulateTest, StoreCarriesTheStateFromRunToRun) {
  arguments.store = directory / "state";
  const std::string plans = plan(1, "A", R"(,"convert_window":{"unit":"DAY","value":1})") + "," + plan(2, "B");
  const std::string more = R"(,"popup_interval_global":{"unit":"MINUTE","value":1})";
  EXPECT_EQ(run(config(0, plans, more) + track(0, "A") +
                R"({"at":1,"convert":{"plan_id":1,"convert_time":"now"}})"
                "\n"),
            kSimulated);
  EXPECT_TRUE(fs::exists(directory / "state"));
  EXPECT_FALSE(fs::exists(directory / "state-wal"));
  // The stored configuration is in force; the popup of the run before is known to have converted, that of this one is not.
  EXPECT_EQ(run(track(30, "B") + track(61, "A") + track(200, "A")), kSimulated);
  EXPECT_THAT(shown(), ElementsAre("-", "1", "-"));
  EXPECT_THAT(out.str(), AllOf(HasSubstr(R"("last_campaign_id":"1")"), HasSubstr("not converted")));
  arguments.store = directory / "other";
  EXPECT_EQ(run(track(30, "B")), kSimulated);
  EXPECT_THAT(shown(), ElementsAre("-"));
}

TEST_F(SimulateTest, StoreThatIsNoneIsLeftAlone) {
  arguments.store = directory / "events.jsonl";
  EXPECT_EQ(run(track(0, "A")), kCannotSimulate);
  EXPECT_EQ(contentsOf(arguments.store), track(0, "A"));
  EXPECT_THAT(err.str(), HasSubstr("is no store of this library"));
  arguments.store = directory / "used";
  std::ofstream(directory / "used-wal") << "x";
  EXPECT_EQ(run(track(0, "A")), kCannotSimulate);
}

TEST_F(SimulateTest, InterruptedRunLeavesTheStore) {
  const volatile std::sig_atomic_t signal = SIGINT;
  arguments.store = directory / "state";
  arguments.events = directory / "events.jsonl";
  std::ofstream(arguments.events) << config(0, plan(1, "A")) << track(1, "A");
  EXPECT_EQ(simulate(arguments, {out, err, true, &signal}), kSimulationSignalled + SIGINT);
  EXPECT_FALSE(fs::exists(arguments.store));
  EXPECT_THAT(out.str(), AllOf(HasSubstr(R"("line":1,)"), Not(HasSubstr(R"("line":2,)"))));
}

TEST_F(SimulateTest, SummaryCountsEachEventOnce) {
  arguments.summary = true;
  const std::string twice =
      R"(,"pattern_popup":{"matcher_list":[{"event_name":"A","params":[2],"window":{"unit":"DAY","value":1}}]})";
  const std::string nightly =
      R"(,"display_time_config":{"natural_repeat_cycle":{"repeat_cycle":"DAY","time_ranges":[{"start_time":"20:00","end_time":"21:00"}]}})";
  EXPECT_EQ(
      run(config(0, plan(1, "A", twice) + "," +
                        plan(2, "A",
                             R"(,"cname":"Hello\u001b[31m","absolute_priority":5,"re_enter":{"unit":"DAY","value":1,"limit":1})") +
                        "," + plan(3, "A", nightly) + "," + plan(4, "A", R"(,"status":"DRAFT","cname":"Later")")) +
          track(1, "A") + track(1, "A") + track(2, "A") + track(3, "A") + track(3, "Other")),
      kSimulated);
  EXPECT_EQ(out.str(), R"(              refused:  display  convert    global      plan                    global    re-
plan  events   expired     time   window  interval  interval  pattern  matched   limit  entry  inhibited  shown  name
   2       4         -        -        -         1         -        -        3       -      2          -      1  Hello?[31m
   4       -         -        -        -         -         -        -        -       -      -          -      -  Later (left out: not active)
   3       4         -        4        -         -         -        -        -       -      -          -      -
   1       4         -        -        -         1         -        2        1       -      -          -      1
5 events, 2 popups
)");
}

TEST_F(SimulateTest, TheReportIsOnePageThatNeedsNothingElse) {
  arguments.report = directory / "report.html";
  const std::string named = R"(,"absolute_priority":5,"cname":"</script><b>Sale</b><!--")";
  arguments.timeZone = "";
  ASSERT_EQ(run(config(0, plan(1, "A") + "," + plan(2, "A", named) + "," + plan(3, "A", R"(,"status":"DRAFT")") + "," +
                              plan(4, "C", R"(,"pattern_popup":{"relation":"AND","matcher_list":[{"event_name":"C"}]})")) +
                track(10, "A") + track(20, "A") + track(7200, "B") + track(7200, "C") + track(1e20, "A")),
            kSimulated);
  EXPECT_EQ(shown(), (std::vector<std::string>{"2", "2", "-", "-", "-"}));
  const std::string page = contentsOf(arguments.report);
  for (const char* const outside : {"src=", "href=", "https:", "@import", "<b>Sale"}) EXPECT_THAT(page, Not(HasSubstr(outside)));

  const std::string mark = R"(id="data">)";
  const auto start = page.find(mark) + mark.size();
  const auto data = KLJSON::parse(page.substr(start, page.find("</script>", start) - start));
  ASSERT_TRUE(data);
  EXPECT_EQ(data->find("events")->asInteger(), 5);
  EXPECT_EQ(data->find("popups")->asArray().size(), 2u);
  EXPECT_EQ(data->find("hours")->asArray().size(), 3u);
  EXPECT_TRUE(KLCalendar::isKnownTimeZone(data->find("timeZone")->asString())) << "whoever reads it may be in another one";
  EXPECT_EQ(data->find("plans")->asArray()[0].find("name")->asString(), "</script><b>Sale</b><!--");

  const auto rendered = renderedByChromium("file://" + arguments.report.string(), directory / "profile");
  if (!rendered) GTEST_SKIP() << kNoChromium;
  for (const char* const text :
       {"&lt;b&gt;Sale&lt;/b&gt;", "8 of 8 decisions", R"(cell">its matchers are joined by AND, which never fires<)",
        R"(cell">one of higher priority came first<)", "&lt;!-- (2) showed instead", R"(cell">no plan listens to it<)",
        "not run: it is not active", "listens to C<", R"(cell">a time beyond all calendars<)", "<circle"}) {
    EXPECT_THAT(*rendered, HasSubstr(text));
  }
}

TEST_F(SimulateTest, AReportThatCannotBeWrittenIsSaid) {
  arguments.report = directory / "nowhere" / "report.html";
  EXPECT_EQ(run(config(0, plan(1, "A"))), kCannotSimulate);
  EXPECT_THAT(err.str(), HasSubstr("report.html cannot be written: No such file"));
  EXPECT_THAT(out.str(), IsEmpty()) << "known before the run";
}

TEST(SimulationStepTest, DatesAreFoundAtAnyDepthOfTheProperties) {
  std::string fault;
  const auto step = parseSimulationStep(
      R"({"at":1,"track":{"$date":4,"properties":{"$date":1,"a":{"b":[{"$date":2.5},{"$date":"x"}]},"c":{"$date":3,"d":1}}}})",
      fault);
  ASSERT_TRUE(step) << fault;
  const KLValue* const properties = step->argument.find("properties");
  EXPECT_EQ(*step->argument.find("$date"), KLValue(4));
  EXPECT_EQ(*properties->find("$date"), KLValue(1));
  EXPECT_EQ(properties->find("a")->find("b")->asArray()[0], KLValue(KLDate{2.5}));
  EXPECT_TRUE(properties->find("a")->find("b")->asArray()[1].isObject());
  EXPECT_TRUE(properties->find("c")->isObject());
  const auto alone = parseSimulationStep(R"({"at":1,"track":{"properties":{"$date":1}}})", fault);
  EXPECT_EQ(*alone->argument.find("properties")->find("$date"), KLValue(1));
}

}  // namespace
}  // namespace kaleo::tools
