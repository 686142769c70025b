#include "Core/DataStore/KLDatabaseSchema.h"

#include "Core/DataStore/DatabaseFixture.h"

namespace kaleo::testing {
namespace {

class KLDatabaseSchemaTest : public DatabaseFixture {
 protected:
  /// Opens the file once, as a start does.
  void openOnce() { EXPECT_TRUE(makeDatabase().isTableCreated()); }
  std::string columns(const std::string& table) {
    return SQLFile(file).value("SELECT group_concat(name, ' ') FROM pragma_table_info('" + table + "')");
  }
  Rows primaryKeys() {
    return rows(
        "SELECT m.name || '.' || i.name FROM sqlite_master m, pragma_table_info(m.name) i WHERE m.type = 'table' AND i.pk <> 0");
  }
};

const char* const kPlainUsers = "CREATE TABLE Users (distinct_id TEXT, user_id TEXT, update_time REAL);";
const char* const kPlainConfig =
    "CREATE TABLE PopupConfig (user_id TEXT, popup_config BLOB, global_limit BLOB, global_interval BLOB, update_time REAL);";
const char* const kPlainWindows =
    "CREATE TABLE PlanWindows (user_id TEXT, plan_id TEXT, trigger_windows BLOB, convert_window BLOB, reEnter_window BLOB, "
    "interval_window BLOB, update_time REAL);";

TEST_F(KLDatabaseSchemaTest, ANewFileHasTheTablesAndIndexes) {
  openOnce();
  EXPECT_EQ(columns("Users"), "distinct_id user_id update_time encryptedStatus project");
  EXPECT_EQ(columns("PopupConfig"), "user_id popup_config global_limit global_interval update_time encryptedStatus project");
  EXPECT_EQ(columns("PlanWindows"),
            "user_id plan_id trigger_windows convert_window reEnter_window interval_window update_time encryptedStatus project");
  SQLFile sql(file);
  EXPECT_EQ(primaryKeys(), Rows{});
  EXPECT_EQ(sql.rows("SELECT type, name, tbl_name FROM sqlite_master ORDER BY name"),
            (Rows{"table|PlanWindows|PlanWindows", "table|PopupConfig|PopupConfig", "table|Users|Users",
                  "index|index_plan_id|PlanWindows", "index|index_user_id|PlanWindows"}));
  EXPECT_EQ(sql.value("PRAGMA user_version"), "0");
  EXPECT_EQ(sql.value("PRAGMA journal_mode"), "wal");
  EXPECT_EQ(host.log->messages(1), std::vector<std::string>{});
}

TEST_F(KLDatabaseSchemaTest, ASecondCreationAndASecondStartLeaveTheFileAlone) {
  openOnce();
  const std::string before = SQLFile(file).value("PRAGMA schema_version");
  KaleoDatabase database = makeDatabase();
  EXPECT_TRUE(database.createTables());
  EXPECT_EQ(SQLFile(file).value("PRAGMA schema_version"), before);
}

TEST_F(KLDatabaseSchemaTest, TheFirstReleasesFileIsCompletedAndItsRowsKept) {
  SQLFile(file).run(
      "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL);"
      "CREATE TABLE PopupConfig (user_id TEXT PRIMARY KEY, popup_config BLOB, global_limit BLOB, global_interval BLOB, "
      "update_time REAL);"
      "INSERT INTO Users VALUES ('d1', 'u1', 1.5), ('d2', 'u2', 2.5);"
      "INSERT INTO PopupConfig VALUES ('u1', x'01', x'02', x'03', 3.5);" +
      std::string(kPlainWindows) + "INSERT INTO PlanWindows VALUES ('u1', '7', x'0A', x'0B', x'0C', NULL, 4.5);");
  setProject("it's");
  openOnce();
  SQLFile sql(file);
  EXPECT_EQ(primaryKeys(), Rows{});
  EXPECT_EQ(sql.rows("SELECT distinct_id, user_id, update_time, encryptedStatus, project FROM Users ORDER BY 1"),
            (Rows{"d1|u1|1.5|0|it's", "d2|u2|2.5|0|it's"}));
  EXPECT_EQ(sql.rows("SELECT * FROM PopupConfig"), Rows{"u1|x01|x02|x03|3.5|0|it's"});
  EXPECT_EQ(sql.rows("SELECT * FROM PlanWindows"), Rows{"u1|7|x0A|x0B|x0C|NULL|4.5|0|it's"});
  EXPECT_EQ(sql.value("SELECT count(*) FROM sqlite_master WHERE type = 'index'"), "2");
}

TEST_F(KLDatabaseSchemaTest, AFileWithKeysAndEncryptedRowsKeepsTheirStatus) {
  SQLFile(file).run(
      "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL, encryptedStatus INTEGER NOT NULL DEFAULT "
      "(0));"
      "CREATE TABLE PopupConfig (user_id TEXT PRIMARY KEY, popup_config BLOB, global_limit BLOB, global_interval BLOB, "
      "update_time REAL, encryptedStatus INTEGER NOT NULL DEFAULT (0));"
      "INSERT INTO Users VALUES ('d1', 'u1', 1.5, 1), ('d2', 'u2', 2.5, 0);"
      "INSERT INTO PopupConfig VALUES ('u1', x'01', NULL, NULL, 3.5, 1);"
      "PRAGMA user_version = 2;");
  openOnce();
  SQLFile sql(file);
  EXPECT_EQ(primaryKeys(), Rows{});
  EXPECT_EQ(sql.rows("SELECT distinct_id, user_id, update_time, encryptedStatus, project FROM Users ORDER BY 1"),
            (Rows{"d1|u1|1.5|1|default", "d2|u2|2.5|0|default"}));
  EXPECT_EQ(sql.rows("SELECT user_id, popup_config, encryptedStatus, project FROM PopupConfig"), Rows{"u1|x01|1|default"});
  EXPECT_EQ(makeDatabase().schemaVersion(), 2);
}

TEST_F(KLDatabaseSchemaTest, ACopyLeftBehindByACutOffUpgradeIsNotCountedTwice) {
  SQLFile(file).run(
      "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL);"
      "INSERT INTO Users VALUES ('d1', 'u1', 1.5);"
      "CREATE TABLE Users_copy (distinct_id TEXT, user_id TEXT, update_time REAL);"
      "INSERT INTO Users_copy SELECT * FROM Users;");
  openOnce();
  EXPECT_EQ(rows("SELECT distinct_id, user_id FROM Users"), Rows{"d1|u1"});
  EXPECT_EQ(SQLFile(file).value("SELECT count(*) FROM sqlite_master WHERE name = 'Users_copy'"), "0");
}

TEST_F(KLDatabaseSchemaTest, MissingColumnsAndTablesOfLaterReleasesAreAdded) {
  SQLFile(file).run(std::string(kPlainUsers) + kPlainConfig + "INSERT INTO Users VALUES ('d1', 'u1', 1.5);" +
                    "ALTER TABLE Users ADD encryptedStatus INTEGER NOT NULL DEFAULT (0);");
  openOnce();
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{"d1|u1|1.5|0|default"});
  EXPECT_EQ(columns("PlanWindows"),
            "user_id plan_id trigger_windows convert_window reEnter_window interval_window update_time encryptedStatus project");
}

TEST_F(KLDatabaseSchemaTest, SomethingElseUnderATablesNameIsRefusedWhole) {
  SQLFile(file).run("CREATE TABLE Other (a TEXT); CREATE VIEW PlanWindows AS SELECT a AS user_id FROM Other;");
  KaleoDatabase database = makeDatabase();
  EXPECT_FALSE(database.isTableCreated());
  EXPECT_FALSE(database.saveUserId("u", "d"));
  EXPECT_EQ(rows("SELECT name FROM sqlite_master ORDER BY 1"), (Rows{"Other", "PlanWindows"}));
}

}  // namespace
}  // namespace kaleo::testing
