#include "explain/Explanation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>

#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"
#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/SQLFile.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::tools {
namespace {

using kaleo::testing::FakeHost;
using kaleo::testing::ManualThreading;
using kaleo::testing::MemoryStore;
using kaleo::testing::SQLFile;
using ::testing::HasSubstr;
using ::testing::Not;
using State = KLDiagnosisState;
namespace fs = std::filesystem;

constexpr std::int64_t kNow = 1'700'000'000, kMilliseconds = 1000;  // 2023-11-14 22:13:20 UTC

std::string base64(const std::string& text) { return KLBase64Encode(KLBytes(text.begin(), text.end())); }

class ExplainTest : public ::testing::Test {
 protected:
  ExplainTest() {
    arguments.file = directory / "QuillonDiagnosticJourneys.sqlite";
    arguments.timeZone = "UTC";
  }

  void record(const std::string& plan, State state, KLObject content) {
    recorder->addContent(std::move(content), plan, state, KLDiagnosisType::Trigger);
  }
  void fetch(const std::string& plans) {
    recorder->addContent(KLObject{{"message", "fetched campaign config"}, {"config", base64(R"({"popup_plans":[)" + plans + "]}")}},
                         State::ConfigFetched, KLDiagnosisType::Config);
  }
  void makeRecorder(bool encrypted = false) {
    host.registry.registerNBStoreManager(std::make_shared<MemoryStore>(encrypted));
    recorder = std::make_unique<KLCampaignDiagnosis>(
        KLDiagnosisSurroundings{threads, clock, random, host.registry, directory.path().string(), directory.path().string(), {}});
    threads.run();
  }
  /// A plan that is fetched, counts, shows, is refused, and gives way; another one that is left out.
  void tellStory() {
    const char* const plans =
        R"({"plan_id":101,"cname":"Welcome","status":"ACTIVE","absolute_priority":9,"expire_at":1700086400000,
            "pattern_popup":{"matcher_list":[{"event_name":"Pay","params":[2]}]}},{"plan_id":102,"status":"PAUSED"})";
    recorder->saveUserId("u1", "alice");
    fetch(plans);
    record("102", State::PlanFiltered, {{"message", "not active"}});
    threads.advance(60);
    const KLObject counted{{"message", "not meet trigger count"},
                           {"window_start", (kNow + 60) * kMilliseconds},
                           {"window_end", (kNow + 3660) * kMilliseconds},
                           {"current_count", 1},
                           {"campaign_count", 2}};
    record("101", State::Pattern, counted);
    threads.advance(60);
    record("101", State::Finished, {{"message", "campaign finished"}});
    const KLObject reEntry{{"message", "not meet reEnter limit count"},
                           {"window_start", (kNow + 120) * kMilliseconds},
                           {"window_end", (kNow + 86520) * kMilliseconds},
                           {"reEnter_limit_count", 1},
                           {"current_campaign_count", 1}};
    for (int i = 0; i < 3; ++i) {
      threads.advance(60);
      record("101", State::ReEnterLimit, reEntry);
    }
    threads.advance(60);
    fetch(plans);
    record("101", State::LowerPriority,
           {{"message", "lower priority"}, {"priority", 9}, {"trigger_campaign_id", "103"}, {"trigger_campaign_priority", 12}});
    recorder.reset();
  }

  int run() {
    out.str("");
    err.str("");
    return explain(arguments, {out, err, kNow + 600.0, false});
  }

  TemporaryDirectory directory;
  FakeHost host;
  KLSystemRandom random;
  ManualThreading threads;
  ManualThreading::Clock clock{threads};
  std::unique_ptr<KLCampaignDiagnosis> recorder;
  ExplanationArguments arguments;
  std::ostringstream out, err;
};

TEST_F(ExplainTest, APlansStoryIsToldTheNewestFirst) {
  makeRecorder();
  tellStory();
  EXPECT_EQ(run(), kRead) << err.str();
  EXPECT_EQ(out.str(), R"(QuillonDiagnosticJourneys.sqlite: 9 records. Read at 2023-11-14 22:23:20 +00:00.
Note: No QuillonDiagnosticJourneys.sqlite-wal lies beside it. If the application was running when the file was copied, its latest changes are missing here.

Plan 101 for user u1 (alice)
  Held back until 2023-11-15 22:15:20 +00:00 (in 23 h 52 min). Refused: re-entry, 1 of 1 popups shown from 2023-11-14 22:15:20 +00:00 until 2023-11-15 22:15:20 +00:00.
  Waits for Pay, 2 times.
  Expires at 2023-11-15 22:13:20 +00:00 (in 23 h 50 min).
  SINCE                       WHAT HAPPENED, THE NEWEST FIRST
  2023-11-14 22:19:20 +00:00  Passed every check, but plan 103 of higher priority showed instead (12 against 9).
  2023-11-14 22:16:20 +00:00  Refused: re-entry, 1 of 1 popups shown from 2023-11-14 22:15:20 +00:00 until 2023-11-15 22:15:20 +00:00. (3 times, the last at 2023-11-14 22:18:20 +00:00)
  2023-11-14 22:15:20 +00:00  Passed every check: its popup was handed on to be shown. What became of it was not recorded.
  2023-11-14 22:14:20 +00:00  Not yet: an event counted, 1 of 2 in the window from 2023-11-14 22:14:20 +00:00 until 2023-11-14 23:14:20 +00:00.
  2023-11-14 22:13:20 +00:00  Fetched: the configuration has it as "Welcome", ACTIVE, priority 9. (2 times, the last at 2023-11-14 22:19:20 +00:00)

Plan 102 for user u1 (alice)
  Waits for no event at all, so it never shows.
  Expires: it names no time, so it counts as expired.
  SINCE                       WHAT HAPPENED, THE NEWEST FIRST
  2023-11-14 22:13:20 +00:00  Left out: it is not active.
  2023-11-14 22:13:20 +00:00  Fetched: the configuration has it, PAUSED, priority 0. (2 times, the last at 2023-11-14 22:19:20 +00:00)
)");
  arguments.plan = "102";
  EXPECT_EQ(run(), kRead);
  EXPECT_THAT(out.str(), Not(HasSubstr("Plan 101")));
}

TEST_F(ExplainTest, TheEventsThatCameNearAreNamed) {
  makeRecorder();
  recorder->saveUserId("u1", "alice");
  const std::array near{KLDecision{.kind = KLDecision::Kind::PropertiesCheck, .planID = 101}};
  for (const char* event : {"Pay", "Search", "Search"}) recorder->addDecisions({.event = KLObject{{"event", event}}}, near);
  const std::array shown{KLDecision{.kind = KLDecision::Kind::Finished, .planID = 101}};
  recorder->addDecisions({.event = KLObject{{"event", "Buy"}}}, shown);
  recorder.reset();
  EXPECT_EQ(run(), kRead) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("was not recorded. (event Buy)"));
  EXPECT_THAT(out.str(), HasSubstr("other properties. (3 times, the last at 2023-11-14 22:13:20 +00:00; events Search 2, Pay 1)"));
  SQLFile(arguments.file).run("ALTER TABLE Journeys DROP COLUMN event");  // as files of before have none
  EXPECT_EQ(run(), kRead) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("other properties. (3 times, the last at 2023-11-14 22:13:20 +00:00)"));
}

TEST_F(ExplainTest, WhatBecameOfEachPopupIsToldInOnePlace) {
  makeRecorder();
  recorder->saveUserId("u1", "alice");
  using Kind = KLPopupOutcome::Kind;
  const auto show = [this](std::initializer_list<KLPopupOutcome> outcomes) {
    const std::array shown{KLDecision{.kind = KLDecision::Kind::Finished, .planID = 101}};
    recorder->addDecisions({.event = KLObject{{"event", "Buy"}}}, shown);
    for (const KLPopupOutcome& outcome : outcomes) {
      threads.advance(20);
      recorder->addOutcome(outcome);
    }
  };
  const KLError refused = KLError::kaleo(KLError::RefusedByApplication, "campaignShouldStart says no");
  show({{Kind::Shown, "101", "A"}, {Kind::Ended, "101", "A"}});
  show({{Kind::Failed, "101", "B", refused}});
  show({{Kind::Failed, "101", "C", refused}});
  show({{Kind::Shown, "101", "D"}, {Kind::Ended, "101", "D", KLError{kKaleoErrorDomain, 0, "the window was lost"}}});
  show({});
  show({{Kind::HandedOver, "101", "E"}});
  show({{Kind::Shown, "101", "F"}});
  recorder.reset();
  EXPECT_EQ(run(), kRead) << err.str();
  const std::string day = "2023-11-14 22:";
  std::istringstream lines(out.str());
  std::vector<std::string> told;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  " + day)) told.push_back(line.substr(30));
  }
  EXPECT_THAT(
      told,
      ::testing::ElementsAre(
          "Passed every check: its popup came on screen at 2023-11-14 22:16 +00:00; its end was not recorded. (event Buy)",
          "Passed every check: its popup was handed over to the application, which shows it by itself. (event Buy)",
          "Passed every check: its popup was handed on to be shown. What became of it was not recorded. (event Buy)",
          "Passed every check: its popup was on screen for 20 s, from 2023-11-14 22:15 +00:00 until 2023-11-14 22:15:20 +00:00, "
          "when "
          "it was cut short: the window was lost. (event Buy)",
          "Passed every check, but its popup did not show: the application refused it in campaignShouldStart, or did not answer in "
          "time (error 1004, \"campaignShouldStart says no\"). (2 times, the last at 2023-11-14 22:14:40 +00:00; event Buy)",
          "Passed every check: its popup was on screen for 20 s, from 2023-11-14 22:13:40 +00:00 until 2023-11-14 22:14 +00:00. "
          "(event Buy)"));
  arguments.json = true;
  EXPECT_EQ(run(), kRead);
  const KLValue found = KLJSON::parse(out.str()).value();
  const KLValue& failed = found.find("stories")->asArray().at(0).find("entries")->asArray().at(4);
  EXPECT_EQ(failed.find("display")->find("outcome")->asString(), "failed");
  EXPECT_EQ(failed.find("display")->find("error_code")->asInteger(), 1004);
}

TEST_F(ExplainTest, RefusalsThatLeaveNoRecordAreToldFromTheNewestConfiguration) {
  makeRecorder();
  recorder->saveUserId("u1", "alice");
  fetch(R"({"plan_id":1,"expire_at":"1700000300000","pattern_popup":{"relation":"AND","matcher_list":[{"event_name":"Pay"}]}},
    {"plan_id":2,"expire_at":"1800000000000","pattern_popup":{"matcher_list":[{"event_name":"Pay"},{"event_name":"Search"}]},
     "display_time_config":{"natural_repeat_cycle":{"repeat_cycle":"DAY","time_ranges":[{"start_time":"09:00","end_time":"18:00"}]}},
     "event_permission":{"relation":"AND","conditions":[{"field":"event.$city","function":"equal","params":["Paris"]}],
                         "filters":[{"conditions":[{"field":"a","function":"isTrue"},{"field":"b","function":"notSet"}]}]}},
    {"plan_id":3,"expire_at":"1800000000000","pattern_popup":{"matcher_list":[{"event_name":"Pay"}]},"display_time_config":
     {"natural_repeat_cycle":{"repeat_cycle":"WEEK","time_ranges":[{"day":"2","start_time":"09:00","end_time":"18:00"}]}}})");
  const std::array near{KLDecision{.kind = KLDecision::Kind::PropertiesCheck, .planID = 2}};
  recorder->addDecisions({.event = KLObject{{"event", "Pay"}}}, near);
  recorder.reset();
  EXPECT_EQ(run(), kRead) << err.str();
  for (const char* sentence :
       {"Its matchers are joined by AND, which never matches: every event is refused without a record.",
        "Expired at 2023-11-14 22:18:20 +00:00 (5 min ago): what came since, until the next configuration, was refused without",
        "Waits for Pay: recorded once, last at 2023-11-14 22:13:20 +00:00.",
        "Waits for Search: no record of it since the records begin, at 2023-11-14 22:13:20 +00:00. It did not come, or was refused",
        "Display times: every day 09:00 to 18:00; what comes at another time is refused without a record. Closed now, next open at "
        "2023-11-15 09:00 +00:00 (in 10 h 36 min).",
        "Event permission: ($city equal \"Paris\") and (a isTrue or b notSet); any other event is refused without a record.",
        "Display times: none that is ever open, so every event is refused without a record."}) {
    EXPECT_THAT(out.str(), HasSubstr(sentence));
  }
  arguments.timeZone = "Asia/Shanghai";  // where it is 06:23
  arguments.json = true;
  EXPECT_EQ(run(), kRead);
  const KLValue found = KLJSON::parse(out.str()).value();
  const KLValue standing = *found.find("stories")->asArray().at(1).find("standing");
  EXPECT_EQ(standing.find("display_times")->find("opens_at")->asInteger(), 1'700'010'000);
  EXPECT_EQ(standing.find("waits_for")->asArray().at(0).find("recorded")->asInteger(), 1);
}

TEST_F(ExplainTest, AConfigurationAsBeforeIsTheLastOneWhoeverItWasFetchedFor) {
  makeRecorder();
  for (const char* user : {"u1", "u2"}) {
    recorder->saveUserId(user, user);
    fetch(R"({"plan_id":1,"expire_at":"1800000000000"})");
  }
  recorder.reset();
  arguments.user = "u2";
  EXPECT_EQ(run(), kRead) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("Plan 1 for user u2"));
}

TEST_F(ExplainTest, TheStoryIsLimitedToATimeAndAUser) {
  makeRecorder();
  tellStory();
  for (const char* since : {"2023-11-14 22:19", "4m", "1700000340", "2023-11-14T23:19:00+01:00"}) {
    arguments.since = since;
    EXPECT_EQ(run(), kRead) << err.str();
    EXPECT_THAT(out.str(), Not(HasSubstr("of 2 in the window"))) << since;
    EXPECT_THAT(out.str(), HasSubstr("plan 103")) << since;
  }
  arguments.since = "yesterday";
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("give one such as"));
  arguments.since.clear();
  arguments.user = "alice";
  EXPECT_EQ(run(), kRead);
  arguments.user = "bob";
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("but none of user bob; there are alice, u1"));
  arguments.user.clear();
  arguments.plan = "7";
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(),
              HasSubstr("9 records, the newest of 2023-11-14 22:19:20 +00:00 (4 min ago), but none of plan 7; there are plans"));
}

TEST_F(ExplainTest, AnEncryptedDatabaseNeedsTheKey) {
  makeRecorder(true);
  tellStory();
  EXPECT_EQ(run(), kPartlyRead);
  EXPECT_THAT(out.str(), HasSubstr("--key"));
  EXPECT_THAT(out.str(), Not(HasSubstr("alice")));
  arguments.key = directory / "org.kaleo.KLAES";
  arguments.json = true;
  EXPECT_EQ(run(), kRead);
  const KLValue found = KLJSON::parse(out.str()).value();
  const KLValue& story = found.find("stories")->asArray().at(0);
  EXPECT_EQ(story.find("plan_id")->asString(), "101");
  EXPECT_EQ(story.find("held_back_until")->asInteger(), kNow + 86520);
  EXPECT_EQ(story.find("entries")->asArray().at(1).find("count")->asInteger(), 3);
}

TEST_F(ExplainTest, WrongAndDamagedFilesAreNamed) {
  makeRecorder();
  recorder.reset();
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("holds no records yet"));
  SQLFile(arguments.file)
      .run(
          "INSERT INTO Journeys (time, project, user_id, distinct_id, plan_id, state, type, content, encryptedStatus) VALUES "
          "(-9e18, NULL, NULL, NULL, NULL, 3, 1, '{', 0), ('x', x'FF', 'u', 'd', '7', 99, 1, '[]', 0), "
          "(5, 'p', 'u', 'd', '7', 1, 0, '{\"config\":\"%%%\"}', 0), (6, 'p', 'u', 'd', '7', 3, 1, '{\"window_end\":\"far\"}', 0)");
  EXPECT_EQ(run(), kPartlyRead);
  EXPECT_THAT(out.str(), HasSubstr("cannot be read"));

  arguments.file = directory / "Kaleo_Popup.sqlite";
  SQLFile(arguments.file).run("CREATE TABLE PlanWindows (a)");
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(),
              HasSubstr("is the library's own database; the decisions are in QuillonDiagnosticJourneys.sqlite beside it"));
  arguments.file = directory.path();
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("is a directory; give"));
}

}  // namespace
}  // namespace kaleo::tools
