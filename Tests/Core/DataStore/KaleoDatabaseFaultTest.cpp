#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>

#include "Core/DataStore/DatabaseFixture.h"
#include "Core/DataStore/KaleoDatabase.h"
#include "Foundation/KLFile.h"
#include "Support/FaultVFS.h"

namespace kaleo::testing {
namespace {

namespace fs = std::filesystem;
using Name = KLDatabaseProperName;

class KaleoDatabaseFaultTest : public DatabaseFixture {
 protected:
  /// The names beside the database that begin as its damaged copies do.
  std::vector<std::string> damagedFiles() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory.path())) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with("Kaleo_Popup.sqlite.damaged-")) names.push_back(name.substr(19));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void expectUsable(KaleoDatabase& database) {
    EXPECT_TRUE(database.saveUserId("u", "d"));
    EXPECT_EQ(database.userIdWithDistinctId("d"), "u");
  }

  FaultVFS vfs;
};

TEST_F(KaleoDatabaseFaultTest, AFileThatIsNoDatabaseIsSetAside) {
  ASSERT_TRUE(KLFile::writeAtomically(file, KLBytes(5000, 'x')));
  KaleoDatabase database = makeDatabase();
  expectUsable(database);
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{"damaged-1700000000"});
  EXPECT_EQ(KLFile::read(directory / "Kaleo_Popup.sqlite.damaged-1700000000"), KLBytes(5000, 'x'));
  EXPECT_EQ(host.log->messages(1), std::vector<std::string>{"Database file is damaged, it was moved to " + file.string() +
                                                            ".damaged-1700000000 and a new one takes its place"});
}

TEST_F(KaleoDatabaseFaultTest, ATruncatedFileIsSetAside) {
  makeDatabase().saveUserId("u", "d");
  fs::resize_file(file, fs::file_size(file) / 2);
  KaleoDatabase database = makeDatabase();
  expectUsable(database);
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{"damaged-1700000000"});
}

TEST_F(KaleoDatabaseFaultTest, AFileOfAnUnknownFormatIsSetAside) {
  makeDatabase().saveUserId("u", "d");
  KLBytes image = *KLFile::read(file);
  image[47] = 9;  // the schema format number, of which 4 is the latest
  ASSERT_TRUE(KLFile::writeAtomically(file, image));
  KaleoDatabase wrongLayer = makeDatabase("no such layer");
  EXPECT_FALSE(wrongLayer.isOpen());
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{});  // says nothing about the file
  KaleoDatabase database = makeDatabase();
  expectUsable(database);
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{"damaged-1700000000"});
}

TEST_F(KaleoDatabaseFaultTest, NoDamageStopsTheStoreForLong) {
  for (int i = 0; i < 30; ++i) {
    makeDatabase().saveWindowData(KLBytes(9000, 'w'), Name::ConvertWindow, "u", std::to_string(i));
  }
  const KLBytes image = *KLFile::read(file);
  constexpr std::size_t kPage = 4096;
  constexpr std::size_t kPastFormatVersions = 20;  // higher versions there make a file that SQLite only reads
  std::mt19937 chance(7);
  for (int round = 0; round < 12; ++round) {
    KLBytes damaged = image;
    for (int i = 0; i < 6; ++i) {
      const std::size_t page = chance() % (image.size() / kPage) * kPage;
      damaged[page + (page ? chance() % 12 : kPastFormatVersions + chance() % 100)] = static_cast<std::uint8_t>(chance());
    }
    if (round % 4 == 0) damaged.resize(chance() % damaged.size());
    ASSERT_TRUE(KLFile::writeAtomically(file, damaged));
    KaleoDatabase database = makeDatabase();
    for (int i = 0; i < 2; ++i) {
      database.saveWindowData(bytes("new"), Name::ConvertWindow, "u", "3");
      database.deleteExpiredDataWithDuration(1e6);
    }
    EXPECT_TRUE(database.saveWindowData(bytes("new"), Name::ConvertWindow, "u", "3")) << round;
    EXPECT_EQ(database.planWindowWithUserId("u", "3", Name::ConvertWindow), bytes("new")) << round;
  }
}

TEST_F(KaleoDatabaseFaultTest, DamageFoundLaterIsSetAsideAtTheNextOperation) {
  makeDatabase().saveUserId("u", "d");
  const int page = std::stoi(SQLFile(file).value("SELECT rootpage FROM sqlite_master WHERE name = 'PlanWindows'"));
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp((page - 1) * 4096).write("garbage!", 8);
  KaleoDatabase database = makeDatabase();
  SQLFile other(file);
  EXPECT_EQ(other.value("SELECT user_id FROM Users"), "u");  // keeps the log beside the file
  EXPECT_EQ(database.userIdWithDistinctId("d"), "u");        // the damage lies elsewhere
  EXPECT_FALSE(database.saveWindowData(bytes("w"), Name::ConvertWindow, "u", "7"));
  EXPECT_TRUE(database.saveWindowData(bytes("w"), Name::ConvertWindow, "u", "7"));
  EXPECT_EQ(damagedFiles(), (std::vector<std::string>{"damaged-1700000000", "damaged-1700000000-shm", "damaged-1700000000-wal"}));
  EXPECT_EQ(rows("SELECT user_id, plan_id FROM PlanWindows"), Rows{"u|7"});
}

TEST_F(KaleoDatabaseFaultTest, OnlyTheNewestDamagedFilesAreKept) {
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(KLFile::writeAtomically(file, KLBytes(5000, 'x')));
    makeDatabase();
    threads.advance(1);
  }
  EXPECT_EQ(damagedFiles(), (std::vector<std::string>{"damaged-1700000002", "damaged-1700000003"}));
}

TEST_F(KaleoDatabaseFaultTest, WithoutAPlaceEveryOperationIsRefusedUntilThereIsOne) {
  fs::create_directory(file);
  KaleoDatabase database = makeDatabase();
  EXPECT_FALSE(database.isOpen());
  EXPECT_FALSE(database.saveUserId("u", "d"));
  EXPECT_EQ(database.userIdWithDistinctId("d"), std::nullopt);
  EXPECT_FALSE(database.deleteAllPlans());
  EXPECT_GT(host.log->count("Failed to open database"), 0);
  EXPECT_TRUE(fs::is_directory(file));
  fs::remove(file);
  expectUsable(database);

  KaleoDatabase nowhere({}, {log, clock, bridge});
  EXPECT_FALSE(nowhere.saveUserId("u", "d"));
  KaleoDatabase belowAFile(file / "below", {log, clock, bridge});
  EXPECT_FALSE(belowAFile.saveUserId("u", "d"));
}

TEST_F(KaleoDatabaseFaultTest, AReadOnlyFileIsReadAndRefusesWrites) {
  makeDatabase().saveUserId("u", "d");
  KaleoDatabase database = makeDatabase(vfs.name());
  vfs.writeResult = SQLITE_READONLY;
  EXPECT_FALSE(database.saveUserId("u2", "d"));
  EXPECT_EQ(host.log->messages(1),
            std::vector<std::string>{"Failed to step statement, error:attempt to write a readonly database"});
  EXPECT_EQ(database.userIdWithDistinctId("d"), "u");
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{});
}

TEST_F(KaleoDatabaseFaultTest, InAReadOnlyPlaceNothingIsKeptAndNothingChanged) {
  makeDatabase().saveUserId("u", "d");
  const KLBytes image = *KLFile::read(file);
  fs::permissions(file, fs::perms::owner_read | fs::perms::others_read);
  fs::permissions(directory.path(),
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
  const pid_t child = fork();
  if (child == 0) {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) _exit(2);  // no permission holds a superuser back
    KaleoDatabase database = makeDatabase();
    _exit(database.saveUserId("u2", "d") || database.userIdWithDistinctId("d") || host.log->messages(1).empty());
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  fs::permissions(directory.path(), fs::perms::owner_all);
  EXPECT_EQ(KLFile::read(file), image);
  EXPECT_EQ(damagedFiles(), std::vector<std::string>{});
}

TEST_F(KaleoDatabaseFaultTest, ADirectoryRemovedWhileRunningIsMadeAnew) {
  const fs::path deep = directory / "data" / "Kaleo_Popup.sqlite";
  KLAESCrypt crypt(random);
  KaleoDatabase database(deep, {log, clock, bridge});
  database.setEncryptor(&crypt);
  ASSERT_TRUE(database.migrate());
  expectUsable(database);
  fs::remove_all(deep.parent_path());
  EXPECT_EQ(database.userIdWithDistinctId("d"), std::nullopt);
  expectUsable(database);
  EXPECT_EQ(SQLFile(deep).rows("SELECT user_id, encryptedStatus FROM Users"), Rows{"u|1"});
  EXPECT_EQ(SQLFile(deep).rows("PRAGMA user_version"), Rows{"2"});  // no row of it is to be encrypted again
  EXPECT_EQ(host.log->messages(1),
            std::vector<std::string>{"Database file was removed or renamed while it was open, a new one takes its place"});
}

TEST_F(KaleoDatabaseFaultTest, AFileThatAnotherConnectionSetAsideIsLetGo) {
  makeDatabase().saveUserId("u", "d");
  const int page = std::stoi(SQLFile(file).value("SELECT rootpage FROM sqlite_master WHERE name = 'PlanWindows'"));
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp((page - 1) * 4096).write("garbage!", 8);
  KaleoDatabase database = makeDatabase();
  KaleoDatabase other = makeDatabase();
  for (KaleoDatabase* each : {&database, &other}) {
    EXPECT_FALSE(each->saveWindowData(bytes("w"), Name::ConvertWindow, "u", "7"));
  }
  EXPECT_TRUE(database.saveWindowData(bytes("w"), Name::ConvertWindow, "u", "7"));
  threads.advance(1);
  EXPECT_EQ(other.planWindowWithUserId("u", "7", Name::ConvertWindow), bytes("w"));
  EXPECT_EQ(damagedFiles().front(), "damaged-1700000000");
  EXPECT_EQ(rows("SELECT plan_id FROM PlanWindows"), Rows{"7"});
}

TEST_F(KaleoDatabaseFaultTest, AFullDiskRefusesWritesAndLosesNothing) {
  KaleoDatabase database = makeDatabase(vfs.name());
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(database.saveUserId("u", "d" + std::to_string(i)));
  for (int writes = 0; writes < 4; ++writes) {
    vfs.writesBeforeFault = writes;
    vfs.writeResult = SQLITE_FULL;
    EXPECT_FALSE(database.savePopupConfig(KLBytes(100000, 'c'), "u"));
    vfs.writeResult = SQLITE_OK;
  }
  EXPECT_GE(vfs.failedWrites, 4);
  EXPECT_EQ(database.popupConfigWithUserId("u"), std::nullopt);
  expectUsable(database);
  EXPECT_EQ(rows("PRAGMA integrity_check"), Rows{"ok"});
  EXPECT_EQ(SQLFile(file).value("SELECT count(*) FROM Users WHERE distinct_id <> 'd'"), "20");
}

TEST_F(KaleoDatabaseFaultTest, ALockOfAnotherConnectionIsWaitedFor) {
  KaleoDatabase database = makeDatabase(vfs.name());
  SQLFile other(file);
  other.run("BEGIN IMMEDIATE");
  vfs.onSleep = [&] {
    if (vfs.sleeps == 3) other.run("COMMIT");
  };
  EXPECT_TRUE(database.saveUserId("u", "d"));
  EXPECT_EQ(vfs.sleeps, 3);

  other.run("BEGIN IMMEDIATE");
  EXPECT_EQ(database.userIdWithDistinctId("d"), "u");  // reading waits for nobody
  EXPECT_EQ(vfs.sleeps, 3);
  EXPECT_FALSE(database.saveUserId("u2", "d"));  // it gives up in the end
  EXPECT_GT(vfs.sleeps, 10);
  EXPECT_EQ(host.log->messages(1), std::vector<std::string>{"Failed to step statement, error:database is locked"});
}

TEST_F(KaleoDatabaseFaultTest, TheFileIsForItsOwnerAlone) {
  const fs::path deep = directory / "new" / "Kaleo_Popup.sqlite";
  const auto ownerOnly = fs::perms::owner_read | fs::perms::owner_write;
  KaleoDatabase database(deep, {log, clock, bridge});
  database.saveUserId("u", "d");
  EXPECT_EQ(fs::status(deep.parent_path()).permissions(), fs::perms::owner_all);
  for (const char* suffix : {"", "-wal", "-shm"}) {
    EXPECT_EQ(fs::status(deep.string() + suffix).permissions(), ownerOnly) << suffix;
  }
  SQLFile(file).run("CREATE TABLE Users (distinct_id TEXT, user_id TEXT, update_time REAL)");
  fs::permissions(file, fs::perms::group_read | fs::perms::others_read, fs::perm_options::add);
  makeDatabase();
  EXPECT_EQ(fs::status(file).permissions(), ownerOnly);
}

TEST_F(KaleoDatabaseFaultTest, WhatAForeignSchemaHoldsDoesNotRun) {
  SQLFile(file).run(
      "CREATE TABLE Users (distinct_id TEXT, user_id TEXT, update_time REAL); CREATE TABLE Trap (a TEXT);"
      "CREATE TRIGGER snare AFTER INSERT ON Users BEGIN INSERT INTO Trap VALUES ('caught'); END;");
  KaleoDatabase database = makeDatabase();
  expectUsable(database);
  EXPECT_EQ(rows("SELECT * FROM Trap"), Rows{});
}

}  // namespace
}  // namespace kaleo::testing
