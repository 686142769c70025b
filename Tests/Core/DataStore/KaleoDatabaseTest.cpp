#include "Core/DataStore/KaleoDatabase.h"

#include "Core/DataStore/DatabaseFixture.h"

namespace kaleo::testing {
namespace {

using Name = KLDatabaseProperName;
using Table = KLDatabaseTable;

class KaleoDatabaseTest : public DatabaseFixture {
 protected:
  KaleoDatabase database = makeDatabase();
};

TEST_F(KaleoDatabaseTest, RowsHaveTheirColumnsFilled) {
  EXPECT_TRUE(database.saveUserId("u1", "d1"));
  EXPECT_TRUE(database.savePopupConfig(bytes("C"), "u1"));
  EXPECT_TRUE(database.saveWindowData(bytes("W"), Name::ReEnterWindow, "u1", "7"));
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{"d1|u1|1700000000.0|0|default"});
  EXPECT_EQ(rows("SELECT * FROM PopupConfig"), Rows{"u1|x43|NULL|NULL|1700000000.0|0|default"});
  EXPECT_EQ(rows("SELECT * FROM PlanWindows"), Rows{"u1|7|NULL|NULL|x57|NULL|1700000000.0|0|default"});
}

TEST_F(KaleoDatabaseTest, ASecondSaveUpdatesTheRow) {
  KLAESCrypt crypt(random);
  database.saveUserId("u1", "d1");
  database.saveGlobalWindowData(bytes("L"), "u1", Name::GlobalLimit);
  database.saveWindowData(bytes("T"), Name::TriggerWindows, "u1", "7");
  threads.advance(0.5);
  database.setEncryptor(&crypt);  // an update leaves the status of its row
  database.saveUserId("u2", "d1");
  database.saveGlobalWindowData(bytes("I"), "u1", Name::GlobalInterval);
  database.saveWindowData(bytes("C"), Name::ConvertWindow, "u1", "7");
  database.saveWindowData(std::nullopt, Name::TriggerWindows, "u1", "7");
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{"d1|u2|1700000000.5|0|default"});
  EXPECT_EQ(rows("SELECT * FROM PopupConfig"), Rows{"u1|NULL|x4C|x49|1700000000.5|0|default"});
  EXPECT_EQ(rows("SELECT * FROM PlanWindows"), Rows{"u1|7|NULL|x43|NULL|NULL|1700000000.5|0|default"});
  database.saveUserId("u3", "d3");
  EXPECT_EQ(rows("SELECT encryptedStatus FROM Users WHERE distinct_id = 'd3'"), Rows{"1"});
}

TEST_F(KaleoDatabaseTest, ReadsAnswerWhatWasSaved) {
  database.saveUserId("u1", "d1");
  database.savePopupConfig(bytes("config"), "u1");
  database.saveGlobalWindowData(bytes("limit"), "u1", Name::GlobalLimit);
  database.saveWindowData(bytes("t"), Name::TriggerWindows, "u1", "7");
  database.saveWindowData(bytes("i"), Name::IntervalWindow, "u1", "8");
  EXPECT_EQ(database.userIdWithDistinctId("d1"), "u1");
  EXPECT_EQ(database.userIdWithDistinctId("d2"), std::nullopt);
  EXPECT_EQ(database.popupConfigWithUserId("u1"), bytes("config"));
  EXPECT_EQ(database.globalWindowWithUserId("u1", Name::GlobalLimit), bytes("limit"));
  EXPECT_EQ(database.globalWindowWithUserId("u1", Name::GlobalInterval), std::nullopt);
  EXPECT_EQ(database.planWindowWithUserId("u1", "7", Name::TriggerWindows), bytes("t"));
  EXPECT_EQ(database.planWindowWithUserId("u1", "7", Name::IntervalWindow), std::nullopt);
  EXPECT_EQ(database.planWindowWithUserId("u2", "7", Name::TriggerWindows), std::nullopt);
  EXPECT_TRUE(database.rowExistsWithUserId("u1", Table::Users));
  EXPECT_FALSE(database.rowExistsWithUserId("u1", "9"));
  const auto windows = database.planWindowsWithUserId("u1");
  ASSERT_EQ(windows.size(), 2u);
  EXPECT_EQ(windows[0].planId, "7");
  EXPECT_EQ(windows[0].triggerWindow, bytes("t"));
  EXPECT_EQ(windows[0].intervalWindow, std::nullopt);
  EXPECT_EQ(windows[1].intervalWindow, bytes("i"));
}

TEST_F(KaleoDatabaseTest, WhatIsTooLongIsRefusedAndEmptiesNothing) {
  database.savePopupConfig(bytes("kept"), "u1");
  EXPECT_FALSE(database.savePopupConfig(KLBytes(KLSQLiteConnection::kMaxRowBytes + 1), "u1"));
  EXPECT_EQ(database.popupConfigWithUserId("u1"), bytes("kept"));
  EXPECT_EQ(host.log->messages(1), std::vector<std::string>{"Failed to step statement, error:string or blob too big"});
}

TEST_F(KaleoDatabaseTest, IdsMayHoldAnything) {
  for (const std::string id : {"O'Brien", "'; DROP TABLE Users; --", "a\"b%@\\", "用户", ""}) {
    EXPECT_TRUE(database.saveUserId("of " + id, id));
    EXPECT_TRUE(database.saveUserId("now of " + id, id));
    EXPECT_EQ(database.userIdWithDistinctId(id), "now of " + id);
    EXPECT_TRUE(database.saveWindowData(bytes("w"), Name::ConvertWindow, id, id));
    EXPECT_EQ(database.planWindowWithUserId(id, id, Name::ConvertWindow), bytes("w"));
  }
  EXPECT_EQ(rows("SELECT count(*) FROM Users"), Rows{"5"});
}

TEST_F(KaleoDatabaseTest, EachProjectHasItsOwnRows) {
  database.saveUserId("u1", "d1");
  database.savePopupConfig(bytes("one"), "u1");
  database.saveWindowData(bytes("one"), Name::ConvertWindow, "u1", "7");
  setProject("it's another");
  EXPECT_EQ(database.userIdWithDistinctId("d1"), std::nullopt);
  EXPECT_EQ(database.popupConfigWithUserId("u1"), std::nullopt);
  EXPECT_EQ(database.planWindowWithUserId("u1", "7", Name::ConvertWindow), std::nullopt);
  EXPECT_TRUE(database.planWindowsWithUserId("u1").empty());
  database.saveUserId("u2", "d1");
  database.correctUserId("nobody", "u1", Table::PopupConfig);
  EXPECT_EQ(database.userIdWithDistinctId("d1"), "u2");
  setProject("default");
  EXPECT_EQ(database.userIdWithDistinctId("d1"), "u1");
  EXPECT_EQ(database.popupConfigWithUserId("u1"), bytes("one"));
}

TEST_F(KaleoDatabaseTest, CorrectionRekeysOneTable) {
  database.savePopupConfig(bytes("c"), "d1");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "d1", "7");
  threads.advance(1);
  EXPECT_TRUE(database.correctUserId("u1", "d1", Table::PlanWindows));
  EXPECT_EQ(rows("SELECT user_id, update_time FROM PlanWindows"), Rows{"u1|1700000001.0"});
  EXPECT_EQ(rows("SELECT user_id, update_time FROM PopupConfig"), Rows{"d1|1700000000.0"});
}

TEST_F(KaleoDatabaseTest, ExpiryTakesOldRowsOfEveryProject) {
  const double month = 2592000;
  setProject("other");
  database.saveUserId("old", "old");
  database.savePopupConfig(bytes("c"), "old");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "old", "7");
  setProject("default");
  threads.advance(1);
  database.saveUserId("new", "new");
  database.savePopupConfig(bytes("c"), "new");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "new", "7");
  threads.advance(month);  // the newer rows are exactly a month old
  EXPECT_TRUE(database.deleteExpiredDataWithDuration(month));
  for (const char* table : {"Users", "PopupConfig", "PlanWindows"}) {
    EXPECT_EQ(rows(std::string("SELECT user_id FROM ") + table), Rows{"new"});
  }
}

TEST_F(KaleoDatabaseTest, DeletingAllPlansEmptiesEveryTable) {
  database.saveUserId("u1", "d1");
  database.savePopupConfig(bytes("c"), "u1");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "u1", "7");
  EXPECT_TRUE(database.deleteAllPlans());
  EXPECT_EQ(rows("SELECT 1 FROM Users UNION ALL SELECT 1 FROM PopupConfig UNION ALL SELECT 1 FROM PlanWindows"), Rows{});
}

TEST_F(KaleoDatabaseTest, AnUnknownColumnIsRefusedWithALine) {
  const auto unknown = static_cast<Name>(10);
  EXPECT_STREQ(KaleoDatabase::columnNameWithProperName(unknown), "");
  EXPECT_STREQ(KaleoDatabase::columnNameWithProperName(Name::EncryptedStatus), "encryptedStatus");
  EXPECT_FALSE(database.saveWindowData(bytes("w"), unknown, "u1", "7"));
  EXPECT_EQ(database.planWindowWithUserId("u1", "7", unknown), std::nullopt);
  EXPECT_EQ(host.log->messages(1), (std::vector<std::string>{"sqlite stmt prepare error (1): near \"=\": syntax error",
                                                             "Failed to prepare statement, error:near \"=\": syntax error",
                                                             "sqlite stmt prepare error (1): near \"FROM\": syntax error",
                                                             "Failed to prepare statement, error:near \"FROM\": syntax error"}));
}

TEST_F(KaleoDatabaseTest, ClosedItOpensAgainForTheNextOperation) {
  database.saveUserId("u1", "d1");
  database.close();
  EXPECT_FALSE(database.isOpen());
  EXPECT_TRUE(host.log->contains("KL SDK had closed database"));
  EXPECT_EQ(database.userIdWithDistinctId("d1"), "u1");
}

TEST_F(KaleoDatabaseTest, OperationsBetweenBeginAndCommitAreOne) {
  ASSERT_TRUE(database.beginTransaction());
  database.saveUserId("u1", "d1");
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{});
  EXPECT_EQ(database.userIdWithDistinctId("d1"), "u1");
  database.rollbackTransaction();
  EXPECT_EQ(database.userIdWithDistinctId("d1"), std::nullopt);
  ASSERT_TRUE(database.beginTransaction());
  database.saveUserId("u1", "d1");
  EXPECT_TRUE(database.commitTransaction());
  EXPECT_EQ(rows("SELECT user_id FROM Users"), Rows{"u1"});
  EXPECT_FALSE(database.commitTransaction());
}

class KaleoDatabaseMigrationTest : public KaleoDatabaseTest {
 protected:
  KaleoDatabaseMigrationTest() { crypt.setKeyFile(directory / "key"); }

  std::string encrypted(const std::string& text) { return *crypt.encryptString(text); }

  KLAESCrypt crypt{random};
};

TEST_F(KaleoDatabaseMigrationTest, PlainRowsAreRewrittenEncrypted) {
  database.saveUserId("u1", "d1");
  database.savePopupConfig(bytes("config"), "u1");
  database.saveGlobalWindowData(bytes("limit"), "u1", Name::GlobalLimit);
  database.saveWindowData(bytes("convert"), Name::ConvertWindow, "u1", "7");
  threads.advance(100);
  EXPECT_FALSE(database.migrate());  // without an encryptor
  database.setEncryptor(&crypt);
  EXPECT_TRUE(database.migrate());
  EXPECT_EQ(database.schemaVersion(), 2);
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"2"});
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{encrypted("d1") + "|" + encrypted("u1") + "|1700000000.0|1|default"});
  EXPECT_EQ(rows("SELECT update_time, encryptedStatus FROM PlanWindows"), Rows{"1700000000.0|1"});
  EXPECT_EQ(database.userIdWithDistinctId(encrypted("d1")), encrypted("u1"));
  EXPECT_EQ(crypt.decryptData(*database.popupConfigWithUserId(encrypted("u1"))), bytes("config"));
  EXPECT_EQ(crypt.decryptData(*database.globalWindowWithUserId(encrypted("u1"), Name::GlobalLimit)), bytes("limit"));
  EXPECT_EQ(database.globalWindowWithUserId(encrypted("u1"), Name::GlobalInterval), std::nullopt);
  EXPECT_EQ(crypt.decryptData(*database.planWindowWithUserId(encrypted("u1"), encrypted("7"), Name::ConvertWindow)),
            bytes("convert"));
  EXPECT_FALSE(database.migrate());  // once
}

TEST_F(KaleoDatabaseMigrationTest, OfTwoConnectionsOneUpgrades) {
  database.saveUserId("u1", "d1");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "u1", "7");
  KaleoDatabase other = makeDatabase();
  database.setEncryptor(&crypt);
  other.setEncryptor(&crypt);
  EXPECT_TRUE(database.migrate());
  EXPECT_FALSE(other.migrate());
  EXPECT_EQ(other.schemaVersion(), 2);
  EXPECT_EQ(rows("SELECT count(*) FROM Users UNION ALL SELECT count(*) FROM PlanWindows"), (Rows{"1", "1"}));
}

TEST_F(KaleoDatabaseMigrationTest, CopiesBelongToTheProjectOfTheColumn) {
  setProject("second");
  database.saveUserId("u1", "d1");
  database.setEncryptor(&crypt);
  EXPECT_TRUE(database.migrate());
  EXPECT_EQ(rows("SELECT project FROM Users"), Rows{"default"});
}

TEST_F(KaleoDatabaseMigrationTest, ANewerVersionIsLeftAlone) {
  database.saveUserId("u1", "d1");
  database.close();
  SQLFile(file).run("PRAGMA user_version = 5");
  KaleoDatabase later = makeDatabase();
  later.setEncryptor(&crypt);
  EXPECT_EQ(later.schemaVersion(), 5);
  EXPECT_FALSE(later.migrate());
  EXPECT_EQ(rows("SELECT distinct_id, user_id, encryptedStatus FROM Users"), Rows{"d1|u1|0"});
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"5"});
}

TEST_F(KaleoDatabaseMigrationTest, AFailureOnTheWayLeavesTheFileAsItWas) {
  database.saveUserId("u1", "d1");
  database.saveWindowData(bytes("w"), Name::ConvertWindow, "u1", "7");
  SQLFile(file).run("CREATE UNIQUE INDEX strict ON PlanWindows (project)");  // the copy of the last table does not fit
  database.setEncryptor(&crypt);
  EXPECT_FALSE(database.migrate());
  EXPECT_EQ(rows("SELECT distinct_id, encryptedStatus FROM Users"), Rows{"d1|0"});
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"0"});
  SQLFile(file).run("DROP INDEX strict");
  EXPECT_TRUE(database.migrate());
}

}  // namespace
}  // namespace kaleo::testing
