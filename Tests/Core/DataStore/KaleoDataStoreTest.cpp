#include "Core/DataStore/KaleoDataStore.h"

#include <memory>
#include <thread>

#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/StoreFixture.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLKeyedArchive.h"
#include "Foundation/KLThreads.h"
#include "Support/FaultVFS.h"
#include "Support/RecordingDiagnosis.h"

namespace kaleo::testing {
namespace {

using Name = KLDatabaseProperName;
using Table = KLDatabaseTable;

std::shared_ptr<KLPopupConfig> makeConfig(std::int64_t interval) {
  const KLHostRegistry registry;
  const KLLog log(registry);
  const KLValue data = KLObject{{"config_pull_interval_ms", interval}};
  return KLPopupConfig::fromResponseData(&data, log);
}

/// Plain and encrypted stores give the same answers.
class KaleoDataStoreAnswersTest : public StoreFixture, public ::testing::WithParamInterface<bool> {};

TEST_P(KaleoDataStoreAnswersTest, ReadsGiveBackWhatWasWritten) {
  if (GetParam()) usePlugin();
  KLThreadThreading threading;
  auto store = makeStore(threading);
  EXPECT_EQ(store->enableEncrypt(), GetParam());
  store->saveUserId("u1", "d1");
  store->savePopupConfig(makeConfig(600), "u1");
  store->saveGlobalWindowData(bytes("limit"), "u1", Name::GlobalLimit);
  store->saveGlobalWindowData(bytes("interval"), "u1", Name::GlobalInterval);
  store->saveWindowData(bytes("t"), Name::TriggerWindows, "u1", "7");
  store->saveWindowData(bytes("c"), Name::ConvertWindow, "u1", "7");
  store->saveWindowData(bytes("i"), Name::IntervalWindow, "u1", "8");
  store->saveWindowData(bytes("other"), Name::IntervalWindow, "u2", "8");
  for (const bool reopened : {false, true}) {
    if (reopened) {
      store.reset();
      store = makeStore(threading);
    }
    EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
    EXPECT_EQ(store->userIdWithDistinctId("d2"), std::nullopt);
    ASSERT_NE(store->popupConfigWithUserId("u1"), nullptr);
    EXPECT_EQ(store->popupConfigWithUserId("u1")->fetchPlansInterval, makeConfig(600)->fetchPlansInterval);
    EXPECT_EQ(store->popupConfigWithUserId("u2"), nullptr);
    EXPECT_EQ(store->globalWindowWithUserId("u1", Name::GlobalLimit), bytes("limit"));
    EXPECT_EQ(store->globalWindowWithUserId("u1", Name::GlobalInterval), bytes("interval"));
    EXPECT_EQ(store->planWindowWithUserId("u1", "7", Name::ConvertWindow), bytes("c"));
    EXPECT_EQ(store->planWindowWithUserId("u1", "7", Name::IntervalWindow), std::nullopt);
    const std::map<std::string, KaleoDataStore::PlanWindows> windows = {
        {"7", {bytes("t"), bytes("c"), std::nullopt, std::nullopt}},
        {"8", {std::nullopt, std::nullopt, std::nullopt, bytes("i")}},
    };
    EXPECT_EQ(store->planWindowsWithUserId("u1"), windows);
  }
  store->saveWindowData(std::nullopt, Name::TriggerWindows, "u1", "7");
  EXPECT_EQ(store->planWindowWithUserId("u1", "7", Name::TriggerWindows), std::nullopt);
  store->correctUserId("u9", "u2", Table::PlanWindows);
  EXPECT_EQ(store->planWindowWithUserId("u9", "8", Name::IntervalWindow), bytes("other"));
  threads.advance(KaleoDataStore::kExpiredDuration + 1);
  store->saveUserId("u3", "d3");
  store->deleteExpiredData();
  EXPECT_EQ(store->userIdWithDistinctId("d1"), std::nullopt);
  EXPECT_EQ(store->userIdWithDistinctId("d3"), "u3");
  store->deleteAllPlans();
  EXPECT_EQ(store->userIdWithDistinctId("d3"), std::nullopt);
}

TEST_P(KaleoDataStoreAnswersTest, ConfigTooLargeForAnArchiveIsNotStoredAndTheOneBeforeItIsGone) {
  if (GetParam()) usePlugin();
  KLThreadThreading threading;
  const auto store = makeStore(threading);
  store->savePopupConfig(makeConfig(600), "u1");
  store->saveGlobalWindowData(bytes("limit"), "u1", Name::GlobalLimit);
  const KLValue plan = KLObject{{"strategy_id", KLValue::Array(KLKeyedArchive::kMaxItems, 1)}};
  const KLValue data = KLObject{{"popup_plans", KLValue::Array{plan}}};
  store->savePopupConfig(KLPopupConfig::fromResponseData(&data, log), "u1");
  EXPECT_TRUE(host.log->waitFor("The popup config of 1 plans is not stored"));
  EXPECT_EQ(store->popupConfigWithUserId("u1"), nullptr);
  EXPECT_EQ(store->globalWindowWithUserId("u1", Name::GlobalLimit), bytes("limit"));
}

INSTANTIATE_TEST_SUITE_P(PlainAndEncrypted, KaleoDataStoreAnswersTest, ::testing::Bool());

using KaleoDataStoreTest = StoreFixture;
TEST_F(KaleoDataStoreTest, WithoutAPluginValuesAreStoredAsTheyAre) {
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  store->saveWindowData(bytes("W"), Name::ReEnterWindow, "u1", "7");
  store->migrate();
  store->flush();
  EXPECT_EQ(rows("SELECT distinct_id, user_id, encryptedStatus FROM Users"), Rows{"d1|u1|0"});
  EXPECT_EQ(rows("SELECT user_id, plan_id, reEnter_window FROM PlanWindows"), Rows{"u1|7|x57"});
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"0"});
  EXPECT_FALSE(std::filesystem::exists(keyFile));
}

TEST_F(KaleoDataStoreTest, WithAPluginEveryIdAndBlobIsEncrypted) {
  usePlugin();
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  store->saveWindowData(bytes("W"), Name::ReEnterWindow, "u1", "7");
  store->flush();
  KLAESCrypt crypt(random);
  crypt.setKeyFile(keyFile);
  const std::string u = *crypt.encryptString("u1");
  EXPECT_EQ(rows("SELECT distinct_id, user_id, encryptedStatus FROM Users"), Rows{*crypt.encryptString("d1") + "|" + u + "|1"});
  EXPECT_EQ(rows("SELECT user_id, plan_id, CAST(reEnter_window AS TEXT) FROM PlanWindows"),
            Rows{u + "|" + *crypt.encryptString("7") + "|" + *crypt.encryptString("W")});
}

TEST_F(KaleoDataStoreTest, PlainRowsAreUpgradedWhenAPluginComes) {
  auto plain = makeStore();
  plain->saveUserId("u1", "d1");
  plain->savePopupConfig(makeConfig(600), "u1");
  usePlugin();
  plain->migrate();  // decided at its making
  EXPECT_EQ(plain->userIdWithDistinctId("d1"), "u1");
  plain.reset();
  auto encrypted = makeStore();
  EXPECT_EQ(encrypted->userIdWithDistinctId("d1"), std::nullopt);
  encrypted->migrate();
  EXPECT_EQ(encrypted->userIdWithDistinctId("d1"), "u1");
  EXPECT_NE(encrypted->popupConfigWithUserId("u1"), nullptr);
  EXPECT_EQ(rows("SELECT encryptedStatus FROM Users UNION SELECT encryptedStatus FROM PopupConfig"), Rows{"1"});
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"2"});
  encrypted->setSchemaVersion(3);
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"3"});
}

TEST_F(KaleoDataStoreTest, ALostKeyMakesOldValuesUnreadableAndNothingElse) {
  usePlugin();
  makeStore()->saveUserId("u1", "d1");
  std::filesystem::remove(keyFile);
  auto store = makeStore();
  EXPECT_EQ(store->userIdWithDistinctId("d1"), std::nullopt);
  store->saveUserId("u2", "d1");
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "u2");
}

TEST_F(KaleoDataStoreTest, WhatCannotBeEncryptedIsNotKept) {
  usePlugin();
  auto store = makeStore();
  store->saveUserId("", "d1");
  store->saveUserId("u2", "d2");
  store->saveWindowData(bytes("w"), Name::ConvertWindow, "", "7");
  EXPECT_EQ(store->planWindowWithUserId("", "7", Name::ConvertWindow), std::nullopt);
  EXPECT_EQ(store->userIdWithDistinctId("d1"), std::nullopt);
  EXPECT_EQ(store->userIdWithDistinctId("d2"), "u2");
  EXPECT_EQ(rows("SELECT count(*) FROM Users UNION ALL SELECT count(*) FROM PlanWindows"), (Rows{"1", "0"}));
}

TEST_F(KaleoDataStoreTest, DamagedBlobsGiveNoConfiguration) {
  auto store = makeStore();
  store->savePopupConfig(makeConfig(600), "u1");
  store->flush();
  SQLFile(file).run("UPDATE PopupConfig SET popup_config = x'DEADBEEF'");
  EXPECT_EQ(store->popupConfigWithUserId("u1"), nullptr);
}

TEST_F(KaleoDataStoreTest, MakingAStoreTouchesNoDiskAndReportsItsPath) {
  const auto recorder = std::make_shared<RecordingDiagnosis>();
  diagnosis.set(recorder);
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(recorder->databaseFiles, std::vector{file.string()});
  threads.run();
  EXPECT_EQ(rows("SELECT user_id FROM Users"), Rows{"u1"});
}

TEST_F(KaleoDataStoreTest, NothingHappensForAMissingConfigurationOrUser) {
  auto store = makeStore();
  store->savePopupConfig(nullptr, "u1");
  store->savePopupConfig(makeConfig(600), std::nullopt);
  store->flush();
  EXPECT_EQ(rows("SELECT * FROM PopupConfig"), Rows{});
}

TEST_F(KaleoDataStoreTest, WritesOfOneTurnAreOneTransactionAndOneOfEachCell) {
  FaultVFS vfs;
  auto store = makeStore(vfs.name());
  threads.run();
  vfs.syncs = 0;
  host.log->clear();
  for (int i = 0; i < 100; ++i) {
    store->saveWindowData(bytes(std::to_string(i)), Name::TriggerWindows, "u1", std::to_string(i % 4));
  }
  threads.run();
  EXPECT_EQ(vfs.syncs, 1);
  EXPECT_EQ(rows("SELECT plan_id, CAST(trigger_windows AS TEXT) FROM PlanWindows ORDER BY 1"),
            (Rows{"0|96", "1|97", "2|98", "3|99"}));
  EXPECT_EQ(host.log->count("Get NB project's value success, value is: default"), 1);  // the host is asked once
}

TEST_F(KaleoDataStoreTest, TheDiskHoldsWhatAllWritesInOrderLeave) {
  auto store = makeStore();
  store->saveWindowData(bytes("before"), Name::ConvertWindow, "u1", "7");
  store->deleteAllPlans();
  store->saveWindowData(bytes("after"), Name::TriggerWindows, "d1", "7");
  store->correctUserId("u1", "d1", Table::PlanWindows);
  store->saveWindowData(bytes("own"), Name::TriggerWindows, "d1", "7");
  threads.run();
  EXPECT_EQ(rows("SELECT user_id, CAST(trigger_windows AS TEXT), convert_window FROM PlanWindows ORDER BY rowid"),
            (Rows{"u1|after|NULL", "d1|own|NULL"}));
}

TEST_F(KaleoDataStoreTest, ATaskIsTriedThreeTimesAtMost) {
  auto store = makeStore();
  int runs = 0;
  store->executeTask([&] { return ++runs, false; });
  EXPECT_EQ(runs, 3);
  runs = 0;
  store->executeTask([&] { return ++runs == 2; });
  EXPECT_EQ(runs, 2);
}

TEST_F(KaleoDataStoreTest, AWriteThatCannotBeMadeIsTriedThreeTimesAndTakesNoOtherWithIt) {
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  store->saveWindowData(bytes("w"), static_cast<Name>(10), "u1", "7");
  store->saveUserId("u2", "d2");
  store->flush();
  EXPECT_EQ(rows("SELECT user_id FROM Users"), (Rows{"u1", "u2"}));
  EXPECT_EQ(host.log->count("sqlite stmt prepare error (1): near \"=\": syntax error"), 3);
}

TEST_F(KaleoDataStoreTest, ADiskThatRefusesIsTriedThreeTimes) {
  FaultVFS vfs;
  auto store = makeStore(vfs.name());
  store->saveUserId("u1", "d1");
  store->flush();
  vfs.writeResult = SQLITE_FULL;
  store->saveUserId("u2", "d1");
  EXPECT_FALSE(store->flush());
  EXPECT_EQ(host.log->messages(1), (std::vector<std::string>{"Failed to commit transaction, error:database or disk is full",
                                                             "Failed to step statement, error:database or disk is full",
                                                             "Failed to step statement, error:database or disk is full"}));
  EXPECT_EQ(vfs.failedWrites, 3);
  vfs.writeResult = SQLITE_OK;
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
}

TEST_F(KaleoDataStoreTest, ALockedFileIsTriedAgain) {
  FaultVFS vfs;
  auto store = makeStore(vfs.name());
  store->flush();
  SQLFile other(file);
  other.run("BEGIN IMMEDIATE");
  vfs.onSleep = [&] {
    // Longer than one statement waits, as its log line shows.
    if (host.log->contains("Failed to begin transaction, error:database is locked")) {
      other.run("COMMIT");
      vfs.onSleep = [] {};
    }
  };
  store->saveUserId("u1", "d1");
  store->flush();
  EXPECT_EQ(rows("SELECT user_id FROM Users"), Rows{"u1"});
  other.run("BEGIN IMMEDIATE");
  host.log->clear();
  store->saveUserId("u2", "d1");
  EXPECT_FALSE(store->flush());
  EXPECT_TRUE(store->flush());  // nothing was dropped since
  EXPECT_EQ(host.log->count("Failed to begin transaction, error:database is locked"), 3);
  EXPECT_TRUE(host.log->contains("The database cannot be written to, 1 writes were dropped"));
}

TEST_F(KaleoDataStoreTest, WithoutADatabaseReadsAnswerNothing) {
  std::filesystem::create_directory(file);
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  store->deleteAllPlans();
  store->migrate();
  store->setSchemaVersion(2);
  EXPECT_EQ(store->userIdWithDistinctId("d1"), std::nullopt);
  EXPECT_EQ(store->popupConfigWithUserId("u1"), nullptr);
  EXPECT_TRUE(store->planWindowsWithUserId("u1").empty());
  KaleoDataStore nowhere({threads, log, clock, random, bridge, hostStore, diagnosis, {}, keyFile});
  EXPECT_TRUE(host.log->contains("failed to get database file path"));
  EXPECT_EQ(nowhere.userIdWithDistinctId("d1"), std::nullopt);
}

TEST_F(KaleoDataStoreTest, ADamagedFileIsReplacedInTheMiddleOfATurn) {
  auto store = makeStore();
  store->saveUserId("u1", "d1");
  store->flush();
  store.reset();
  const int page = std::stoi(SQLFile(file).value("SELECT rootpage FROM sqlite_master WHERE name = 'PlanWindows'"));
  KLBytes image = *KLFile::read(file);
  std::fill_n(image.begin() + (page - 1) * 4096, 8, std::uint8_t{0xAA});
  ASSERT_TRUE(KLFile::writeAtomically(file, image));
  store = makeStore();
  store->saveUserId("u2", "d2");
  store->saveWindowData(bytes("w"), Name::ConvertWindow, "u2", "7");
  store->saveUserId("u3", "d3");
  store->flush();
  EXPECT_EQ(rows("SELECT user_id FROM Users"), (Rows{"u2", "u3"}));
  EXPECT_EQ(rows("SELECT plan_id FROM PlanWindows"), Rows{"7"});
}

TEST_F(KaleoDataStoreTest, TheEndWritesWhatIsQueued) {
  for (int i = 0; i < 20; ++i) {
    KLThreadThreading threading;
    auto store = makeStore(threading);
    store->saveUserId("u", "d" + std::to_string(i));
    store.reset();
    EXPECT_EQ(rows("SELECT count(*) FROM Users"), Rows{std::to_string(i + 1)});
  }
}

TEST_F(KaleoDataStoreTest, ManyThreadsWriteAndReadAtOnce) {
  KLThreadThreading threading;
  auto store = makeStore(threading);
  constexpr int kThreads = 4;
  constexpr int kWrites = 50;
  std::vector<std::thread> writers;
  for (int t = 0; t < kThreads; ++t) {
    writers.emplace_back([&, plan = std::to_string(t)] {
      for (int i = 0; i < kWrites; ++i) {
        const KLBytes data = bytes(std::to_string(i));
        store->saveWindowData(data, Name::TriggerWindows, "u", plan);
        if (i % 10 == 0) {
          EXPECT_EQ(store->planWindowWithUserId("u", plan, Name::TriggerWindows), data);
        }
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(store->planWindowsWithUserId("u").size(), std::size_t{kThreads});
  for (const auto& [plan, windows] : store->planWindowsWithUserId("u")) EXPECT_EQ(windows[0], bytes("49"));
}

}  // namespace
}  // namespace kaleo::testing
