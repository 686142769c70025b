#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>

#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"
#include "Core/Base/Diagnosis/KLDiagnosisUpload.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLSystem.h"
#include "Support/FakeHost.h"
#include "Support/FaultVFS.h"
#include "Support/ManualThreading.h"
#include "Support/SQLFile.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::testing {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using Rows = SQLFile::Rows;
using State = KLDiagnosisState;
namespace fs = std::filesystem;

constexpr double kNow = 1'700'000'000;
constexpr const char* kAll = R"({"requests":["report_user_diagnose_logs"]})";

class KLCampaignDiagnosisTest : public ::testing::Test {
 protected:
  using Done = std::function<void(bool)>;

  void make(const std::string& vfs = {}) {
    recorder = std::make_unique<KLCampaignDiagnosis>(
        KLDiagnosisSurroundings{threads, clock, random, host.registry, documents.string(), (directory / "library").string(),
                                [this](const KLValue& page, Done done) {
                                  pages.push_back(page);
                                  waiting.push_back(std::move(done));
                                }},
        vfs);
    threads.run();
  }
  void usePlugin() { host.registry.registerNBStoreManager(std::make_shared<MemoryStore>(true)); }

  void refuse(const std::string& plan, KLObject content = {}) {
    content.set("message", "not converted");
    recorder->addContent(std::move(content), plan, State::NotConverted, KLDiagnosisType::Trigger);
  }
  void write() { threads.advance(KLCampaignDiagnosis::kWriteDelay); }
  void flush(const std::string& condition) {
    const KLValue value = *KLJSON::parse(condition);
    recorder->flushWithCondition(&value);
    threads.run();
  }
  /// Answers the oldest page that waits.
  void answer(bool accepted) {
    const Done done = waiting.at(0);
    waiting.erase(waiting.begin());
    done(accepted);
    threads.run();
  }
  Rows rows(const std::string& sql) { return SQLFile(file).rows(sql); }
  /// The ids of the records of page `index`.
  std::vector<std::int64_t> sent(std::size_t index) const {
    std::vector<std::int64_t> ids;
    for (const KLValue& record : pages.at(index).find("records")->asArray()) ids.push_back(record.find("record_id")->asInteger());
    return ids;
  }

  TemporaryDirectory directory;
  fs::path documents = directory / "documents";
  const fs::path file = documents / "QuillonDiagnosticJourneys.sqlite";
  FakeHost host;
  KLSystemRandom random;
  ManualThreading threads;
  ManualThreading::Clock clock{threads};
  std::vector<KLValue> pages;
  std::vector<Done> waiting;
  std::unique_ptr<KLCampaignDiagnosis> recorder;
};

TEST_F(KLCampaignDiagnosisTest, RecordsAreKeptInOrderWithWhomAndWhatTheyAreAbout) {
  make();
  refuse("7");
  recorder->saveUserId("u1", "user-1");
  threads.advance(0.5);
  recorder->addContent(KLObject{{"message", "fetched"}}, State::ConfigFetched, KLDiagnosisType::Config);
  refuse("8", {{"n", 1}});
  write();
  EXPECT_EQ(rows("SELECT time, project, user_id, distinct_id, plan_id, state, type, content FROM Journeys ORDER BY id"),
            (Rows{R"(1700000000000|default||user-1|7|3|1|{"message":"not converted"})",
                  R"(1700000000500|default|u1|user-1||1|0|{"message":"fetched"})",
                  R"(1700000000500|default|u1|user-1|8|3|1|{"n":1,"message":"not converted"})"}));
  // The next run knows the user before the server says who it is.
  recorder.reset();
  make();
  refuse("9");
  recorder.reset();
  EXPECT_EQ(rows("SELECT user_id, plan_id FROM Journeys ORDER BY id DESC LIMIT 1"), Rows{"u1|9"});
}

TEST_F(KLCampaignDiagnosisTest, DecisionsComeTogetherAndKeepTheirPlaceAmongOtherRecords) {
  make();
  recorder->saveUserId("u1", "user-1");
  refuse("1");
  const std::array decisions{KLDecision{.kind = KLDecision::Kind::PropertiesCheck, .planID = 7, .windowStart = 1.5},
                             KLDecision{.kind = KLDecision::Kind::TriggerCount, .planID = 7, .count = 1, .limit = 2},
                             KLDecision{.kind = KLDecision::Kind::Finished, .planID = -8},
                             KLDecision{.kind = KLDecision::Kind::LowerPriority, .planID = 9, .chosenPlanID = -8}};
  recorder->addDecisions({.event = KLObject{{"event", "Pay"}, {"track_id", 5}}}, decisions);
  refuse("2");
  write();
  EXPECT_EQ(
      rows("SELECT user_id, plan_id, state, type, event, content FROM Journeys ORDER BY id"),
      (Rows{
          R"(u1|1|3|1||{"message":"not converted"})",
          R"(u1|7|6|1|Pay|{"message":"not meet properties check","window_start":1500,"window_end":0,"track_id":5,"campaign_id":"7"})",
          R"(u1|7|6|1|Pay|{"message":"not meet trigger count","window_start":0,"window_end":0,"current_count":1,"campaign_count":2,"campaign_id":"7"})",
          R"(u1|-8|10|1|Pay|{"message":"campaign finished","campaign_id":"-8"})",
          R"(u1|9|9|1|Pay|{"message":"lower priority","priority":0,"campaign_id":"9","trigger_campaign_id":"-8","trigger_campaign_priority":0})",
          R"(u1|2|3|1||{"message":"not converted"})"}));
  flush(kAll);
  EXPECT_EQ(pages.at(0).find("records")->asArray().at(1).find("event")->asString(), "Pay");
  // When many events wait, what their records do not need is let go.
  for (int i = 0; i < 1100; ++i) {
    recorder->addDecisions({.event = KLObject{{"event", "Pay"}, {"track_id", i}, {"properties", "x"}}},
                           std::span(decisions).first(1));
  }
  write();
  EXPECT_EQ(rows("SELECT event, json_extract(content, '$.track_id') FROM Journeys ORDER BY id DESC LIMIT 1"), Rows{"Pay|1099"});
  // What does not fit is left out as a whole.
  const std::vector<KLDecision> many(KLCampaignDiagnosis::kMaxWaiting, decisions[0]);
  refuse("3");
  recorder->addDecisions({}, many);
  write();
  EXPECT_EQ(rows("SELECT count(*) FROM Journeys"), Rows{"1107"});
  EXPECT_THAT(host.log->messages(1), ::testing::Contains("Too many diagnosis records wait for the disk, 50000 were dropped"));
}

TEST_F(KLCampaignDiagnosisTest, AFileFromBeforeTheEventsHadNamesGoesOn) {
  fs::create_directories(documents);
  SQLFile(file).run(
      "CREATE TABLE Journeys (id INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, project TEXT, user_id TEXT, distinct_id "
      "TEXT, plan_id TEXT, state INTEGER NOT NULL, type INTEGER NOT NULL, content TEXT, encryptedStatus INTEGER NOT NULL, "
      "acknowledged INTEGER NOT NULL DEFAULT 0); PRAGMA user_version = 1; "
      "INSERT INTO Journeys (time, project, user_id, distinct_id, plan_id, state, type, content, encryptedStatus) "
      "VALUES (1700000000000, 'p', 'u', 'd', '6', 3, 1, '{}', 0)");
  for (int run = 0; run < 2; ++run) {
    make();
    refuse("7");
    recorder.reset();
  }
  EXPECT_EQ(rows("SELECT plan_id, event IS NULL FROM Journeys ORDER BY id"), (Rows{"6|1", "7|0", "7|0"}));
  make();
  flush(kAll);
  EXPECT_THAT(sent(0), ElementsAre(1, 2, 3));
}

TEST_F(KLCampaignDiagnosisTest, IdsAndContentsAreEncryptedAsTheDataStoreDoesIt) {
  usePlugin();
  make();
  recorder->saveUserId("u1", "user-1");
  refuse("7");
  write();
  KLAESCrypt key(random);
  ASSERT_TRUE(key.readKeyFile(directory / "library" / KaleoDataStore::kKeyFileName));
  EXPECT_EQ(rows("SELECT user_id, distinct_id, plan_id, content, encryptedStatus FROM Journeys"),
            (Rows{*key.encryptString("u1") + "|" + *key.encryptString("user-1") + "|" + *key.encryptString("7") + "|" +
                  *key.encryptString(R"({"message":"not converted"})") + "|1"}));
  flush(R"({"requests":["report_user_diagnose_logs"],"user_ids":["u1"],"plan_ids":[7]})");
  EXPECT_EQ(pages.at(0).find("records")->asArray().at(0).find("user_id")->asString(), "u1");
}

TEST_F(KLCampaignDiagnosisTest, WhatWasWrittenPlainIsEncryptedOnceTheHostEncrypts) {
  make();
  recorder->saveUserId("secret-user", "secret-name");
  for (int i = 0; i < 100; ++i) refuse("secret-plan");
  recorder.reset();
  usePlugin();
  make();
  refuse("7");
  recorder.reset();
  std::stringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  EXPECT_THAT(bytes.str(), Not(AnyOf(HasSubstr("secret"), HasSubstr("not converted"))));
  make();
  flush(R"({"requests":["report_user_diagnose_logs"],"user_ids":["secret-user"],"plan_ids":["secret-plan"]})");
  EXPECT_THAT(sent(0), SizeIs(100));
  recorder.reset();
  // Nobody can read what was encrypted under a key that is lost: it is not sent as records about nothing.
  fs::remove(directory / "library" / KaleoDataStore::kKeyFileName);
  make();
  refuse("8");
  write();
  flush(kAll);
  EXPECT_THAT(sent(1), ElementsAre(102));
}

TEST_F(KLCampaignDiagnosisTest, ABatchIsOneTransactionAndTheLastOneIsWrittenAtTheEnd) {
  FaultVFS vfs;
  make(vfs.name());
  refuse("1");
  write();
  vfs.syncs = 0;
  for (int i = 0; i < 100; ++i) refuse("2");
  threads.advance(KLCampaignDiagnosis::kWriteDelay / 2);
  EXPECT_EQ(vfs.syncs, 0);
  write();
  EXPECT_EQ(vfs.syncs, 1);
  // A long list does not wait.
  for (std::size_t i = 0; i < KLCampaignDiagnosis::kBatch; ++i) refuse("3");
  threads.run();
  EXPECT_EQ(rows("SELECT count(*) FROM Journeys"), Rows{"2101"});
  // Nobody comes any more when nothing has come for a while, until something does.
  threads.advance(2 * KLCampaignDiagnosis::kWriteDelay);
  EXPECT_TRUE(threads.isIdle());
  refuse("4");
  write();
  EXPECT_EQ(rows("SELECT count(*) FROM Journeys"), Rows{"2102"});
  refuse("5");
  recorder.reset();
  EXPECT_EQ(rows("SELECT count(*) FROM Journeys"), Rows{"2103"});
}

TEST_F(KLCampaignDiagnosisTest, WhatHasExpiredGoesAndTheNewestOfTooMuchStays) {
  make();
  recorder->setDiagnosisExpiration(3600);
  refuse("old");
  write();
  threads.advance(KLCampaignDiagnosis::kSweepInterval + 60);
  refuse("new");
  write();
  EXPECT_EQ(rows("SELECT plan_id FROM Journeys"), Rows{"new"});

  const std::string large(900'000, 'x');
  for (int i = 0; i < 60; ++i) refuse(std::to_string(i), {{"large", large}});
  write();
  EXPECT_EQ(rows("SELECT max(plan_id + 0) FROM Journeys"), Rows{"59"});
  EXPECT_EQ(rows("SELECT sum(length(content)) < 33554432 AND count(*) > 20 FROM Journeys"), Rows{"1"});

  // The newest of many need the room.
  for (int i = 0; i < 5000; ++i) refuse("small");
  write();
  for (int i = 0; i < 60; ++i) refuse(std::to_string(i), {{"large", large}});
  write();
  EXPECT_EQ(rows("SELECT max(plan_id + 0) = 59 AND sum(length(content)) < 33554432 FROM Journeys"), Rows{"1"});
  EXPECT_LT(fs::file_size(file), 35u << 20);
  EXPECT_LT(fs::file_size(file.string() + "-wal"), 8u << 20);

  refuse("huge", {{"large", std::string(2'000'000, 'x')}});
  write();
  EXPECT_EQ(rows("SELECT content FROM Journeys ORDER BY id DESC LIMIT 1"),
            Rows{R"({"message":"not converted","left_out_bytes":2000038})"});
}

TEST_F(KLCampaignDiagnosisTest, AConfigurationIsKeptOnceADayForEachUser) {
  FaultVFS vfs;
  make(vfs.name());
  const auto fetch = [this](const std::string& plans) {
    const std::string answer = R"({"server_current_time":")" + std::to_string(clock.now()) + R"(","popup_plans":[)" + plans + "]}";
    recorder->addContent(KLObject{{"config", KLBase64EncodeLines(KLBytes(answer.begin(), answer.end()), 64)}}, State::ConfigFetched,
                         KLDiagnosisType::Config);
    write();
  };
  const auto kept = [this] { return rows("SELECT group_concat(content LIKE '%\"config\"%', '') FROM Journeys").at(0); };
  recorder->saveUserId("u1", "d1");
  for (const char* plans : {"1", "1", "2", "2"}) fetch(plans);
  EXPECT_EQ(kept(), "1010");
  recorder->saveUserId("u2", "d2");
  for (int i = 0; i < 2; ++i) fetch("2");
  EXPECT_EQ(kept(), "101010");
  threads.advance(86400);
  fetch("2");
  EXPECT_EQ(kept(), "1010101");
  // What did not reach the disk cannot be referred to.
  vfs.writeResult = SQLITE_FULL;
  fetch("3");
  vfs.writeResult = SQLITE_OK;
  fetch("3");
  EXPECT_EQ(kept(), "10101011");
  recorder.reset();
}

TEST_F(KLCampaignDiagnosisTest, NothingOnTheDiskEndsTheRecording) {
  fs::create_directories(documents);
  std::ofstream(file) << "This is no database, but something else of some length.";
  make();
  refuse("1");
  write();
  EXPECT_EQ(rows("SELECT plan_id FROM Journeys"), Rows{"1"});  // the other file was set aside
  recorder.reset();

  FaultVFS vfs;
  make(vfs.name());
  vfs.writeResult = SQLITE_FULL;
  refuse("2");
  write();
  EXPECT_THAT(host.log->messages(1), ::testing::Contains("1 diagnosis records were dropped"));
  vfs.writeResult = SQLITE_OK;
  refuse("3");
  write();
  EXPECT_EQ(rows("SELECT plan_id FROM Journeys"), (Rows{"1", "3"}));
  recorder.reset();

  // Damaged while it is in use.
  make();
  refuse("4");
  write();
  { std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(0) << std::string(8192, '\xAA'); }
  fs::remove(file.string() + "-wal");
  recorder.reset();
  make();
  for (int i = 0; i < 3; ++i) {
    refuse("5");
    write();
  }
  EXPECT_THAT(rows("SELECT plan_id FROM Journeys"), ::testing::Contains("5"));
  recorder.reset();

  documents.clear();  // there is no directory
  make();
  refuse("6");
  flush(kAll);
  EXPECT_THAT(pages, IsEmpty());
}

TEST_F(KLCampaignDiagnosisTest, TheConditionChoosesWhatIsUploaded) {
  make();
  recorder->saveUserId("u1", "d1");
  recorder->addContent(KLObject{{"config", "BASE64"}}, State::ConfigFetched, KLDiagnosisType::Config);  // 1
  refuse("7");                                                                                          // 2
  threads.advance(10);
  recorder->saveUserId("u2", "d2");
  refuse("8");  // 3
  refuse("7");  // 4
  write();
  const KLLog log(host.registry);
  KLDiagnosisDatabase database(file, log, clock, random);
  const auto asked = [&](const std::string& more) {
    const KLValue object = *KLJSON::parse(R"({"requests":["report_user_diagnose_logs"])" + more + "}");
    const auto condition = KLDiagnosisCondition::fromResponseData(&object);
    std::vector<std::int64_t> ids;
    for (const auto& record : database.unacknowledged(condition, condition.limit, 1 << 20)) ids.push_back(record.id);
    return ids;
  };
  EXPECT_THAT(asked(""), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(asked(R"(,"user_ids":["u2"])"), ElementsAre(3, 4));
  EXPECT_THAT(asked(R"(,"user_ids":["u2"],"distinct_ids":["d1"])"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(asked(R"(,"plan_ids":[8,"9"])"), ElementsAre(1, 3));  // and what is about no plan
  EXPECT_THAT(asked(R"(,"start_time":1700000010000)"), ElementsAre(3, 4));
  EXPECT_THAT(asked(R"(,"end_time":1700000009999)"), ElementsAre(1, 2));
  EXPECT_THAT(asked(R"(,"limit":3)"), ElementsAre(1, 2, 3));
  EXPECT_THAT(asked(R"(,"limit":-1)"), IsEmpty());
  EXPECT_THAT(asked(R"(,"user_ids":["' OR 1 --"])"), IsEmpty());
  EXPECT_THAT(asked(R"(,"user_ids":null,"plan_ids":null,"start_time":null,"end_time":null,"limit":null)"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(asked(R"(,"user_ids":"u2","plan_ids":8,"start_time":"1700000010000","limit":"1")"), ElementsAre(3));
  // A filter that cannot be read never widens what is sent, nor does it quietly mean another time.
  for (const char* unclear : {R"("user_ids":{"u2":1})", R"("user_ids":[["u2"]])", R"("distinct_ids":true)",
                              R"("plan_ids":[7,null])", R"("start_time":"2023-11-14")", R"("end_time":[1])", R"("limit":"many")"}) {
    flush(std::string(R"({"requests":["report_user_diagnose_logs"],)") + unclear + "}");
    EXPECT_THAT(host.log->messages(1), ::testing::Contains(HasSubstr("diagnose_config asks for nothing"))) << unclear;
    EXPECT_THAT(pages, IsEmpty()) << unclear;
  }
  flush(R"({"requests":"report_user_diagnose_logs"})");
  EXPECT_THAT(host.log->messages(1).back(), HasSubstr("its \"requests\" cannot be read"));
  for (const char* other : {"{}", "[]", R"({"requests":["fetch_popup_configs"]})"}) flush(other);
  recorder->flushWithCondition(nullptr);
  threads.run();
  EXPECT_THAT(pages, IsEmpty());
}

TEST_F(KLCampaignDiagnosisTest, WhatWasAcknowledgedIsNeverSentAgain) {
  make();
  for (int i = 0; i < 450; ++i) refuse("7");
  write();
  flush(kAll);
  ASSERT_THAT(pages, SizeIs(1));
  EXPECT_THAT(sent(0), SizeIs(KLDiagnosisUpload::kPageRecords));
  flush(kAll);  // while the first page is under way
  EXPECT_THAT(pages, SizeIs(1));
  answer(true);
  ASSERT_THAT(pages, SizeIs(2));
  EXPECT_EQ(sent(1).front(), 201);
  answer(false);
  EXPECT_THAT(pages, SizeIs(2));
  recorder.reset();
  make();
  flush(kAll);
  EXPECT_EQ(sent(2), sent(1));
  answer(true);
  answer(true);
  EXPECT_THAT(sent(3), SizeIs(50));
  EXPECT_EQ(sent(3).front(), 401);
  flush(kAll);
  EXPECT_THAT(pages, SizeIs(4));
  EXPECT_EQ(*pages[0].find("installation_id"), *pages[3].find("installation_id"));
}

TEST_F(KLCampaignDiagnosisTest, AnAnswerCountsForThePageAndTheDatabaseThatItIsAbout) {
  make();
  for (int i = 0; i < 300; ++i) refuse("7");
  write();
  flush(kAll);
  flush(R"({"requests":["report_user_diagnose_logs"],"limit":50})");  // while a page of 200 is under way
  answer(true);
  ASSERT_THAT(pages, SizeIs(2));
  EXPECT_THAT(sent(1), SizeIs(50));
  fs::remove(file);
  refuse("8");  // has the number of a record that was sent before
  write();
  answer(true);
  flush(kAll);
  ASSERT_THAT(pages, SizeIs(3));
  EXPECT_THAT(sent(2), ElementsAre(1));
  EXPECT_FALSE(*pages[2].find("installation_id") == *pages[1].find("installation_id"));
}

TEST_F(KLCampaignDiagnosisTest, ARefusedPageComesAgainLaterAndLater) {
  make();
  refuse("7");
  write();
  flush(kAll);
  double pause = KLDiagnosisUpload::kFirstDelay;
  for (int i = 1; i < KLDiagnosisUpload::kMaxFailures; ++i, pause = std::min(2 * pause, KLDiagnosisUpload::kLongestDelay)) {
    answer(false);
    flush(kAll);  // does not cut the pause short
    threads.advance(pause - 1);
    ASSERT_THAT(pages, SizeIs(i));
    threads.advance(1);
    ASSERT_THAT(pages, SizeIs(i + 1));
  }
  answer(true);
  EXPECT_EQ(rows("SELECT acknowledged FROM Journeys"), Rows{"1"});
}

TEST_F(KLCampaignDiagnosisTest, NothingIsSentWhileTheDiskKeepsNoAcknowledgement) {
  FaultVFS vfs;
  make(vfs.name());
  for (int i = 0; i < 300; ++i) refuse("7");
  write();
  flush(kAll);
  vfs.writeResult = SQLITE_FULL;
  answer(true);
  EXPECT_THAT(pages, SizeIs(1));
  vfs.writeResult = SQLITE_OK;
  flush(kAll);
  EXPECT_EQ(sent(1).front(), 201);
  recorder.reset();  // before the layer below it
}

}  // namespace
}  // namespace kaleo::testing
