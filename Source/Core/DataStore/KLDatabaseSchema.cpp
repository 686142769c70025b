#include "Core/DataStore/KLDatabaseSchema.h"

#include <algorithm>
#include <array>

namespace kaleo {

namespace {

constexpr const char* kUsers = "Users";
constexpr const char* kPopupConfig = "PopupConfig";
constexpr const char* kPlanWindows = "PlanWindows";
constexpr std::array kTables = {kUsers, kPopupConfig, kPlanWindows};
constexpr const char* kEncryptedStatus = "encryptedStatus";
constexpr const char* kProject = "project";

std::string withDoubledQuotes(std::string_view text) {
  std::string literal;
  for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
  return literal;
}

}  // namespace

bool KLDatabaseSchema::createTables(const std::string& project) {
  if (isComplete()) return true;
  // At once, in its turn among processes that start together: each sees what the one before it has made.
  KLSQLiteTransaction transaction(file_.connection());
  if (!transaction.isBegun()) {
    file_.logFailure("Failed to begin transaction, error:");
    return false;
  }
  if (!buildSchema(project)) return false;
  if (transaction.commit()) return true;
  file_.logFailure("Failed to commit transaction, error:");
  return false;
}

bool KLDatabaseSchema::isComplete() {
  // The two columns of later releases in each table, no primary key in any, and two indexes.
  KLSQLiteStatement complete = file_.connection().prepare(
      "SELECT sum(c.name IN ('encryptedStatus', 'project')) = 6 AND sum(c.pk) = 0 AND "
      "(SELECT count(*) FROM sqlite_master WHERE type = 'index' AND name IN ('index_user_id', 'index_plan_id')) = 2 "
      "FROM sqlite_master m, pragma_table_info(m.name) c "
      "WHERE m.type = 'table' AND m.name IN ('Users', 'PopupConfig', 'PlanWindows')");
  return complete.step() == KLSQLiteStatement::Step::Row && complete.integer(0) == 1;
}

bool KLDatabaseSchema::buildSchema(const std::string& project) {
  if (!createTable(kUsers, "distinct_id TEXT, user_id TEXT, update_time REAL")) return false;
  if (isPrimaryKey("distinct_id", kUsers) && !migrateOldUserTable()) return false;
  if (!createTable(kPopupConfig, "user_id TEXT, popup_config BLOB, global_limit BLOB, global_interval BLOB, update_time REAL")) {
    return false;
  }
  if (isPrimaryKey("user_id", kPopupConfig) && !migrateOldPopupConfigTable()) return false;
  if (!createTable(kPlanWindows,
                   "user_id TEXT, plan_id TEXT, trigger_windows BLOB, convert_window BLOB, reEnter_window BLOB, "
                   "interval_window BLOB, update_time REAL")) {
    return false;
  }
  createIndex("user_id", kPlanWindows);
  createIndex("plan_id", kPlanWindows);
  return addEncryptStatusColumn() && addProjectColumn(project);
}

bool KLDatabaseSchema::createTable(const std::string& table, std::string_view columns) {
  if (file_.connection().execute(fmt::format("CREATE TABLE IF NOT EXISTS {} ({});", table, columns))) return true;
  file_.noteFailure();
  log_.error("create {} table failed", table);
  return false;
}

void KLDatabaseSchema::createIndex(const std::string& column, const std::string& table) {
  if (file_.connection().execute(fmt::format("CREATE INDEX IF NOT EXISTS index_{0} on {1} ({0})", column, table))) return;
  file_.noteFailure();
  log_.error("create index {} failed on table {}", column, table);
}

bool KLDatabaseSchema::isPrimaryKey(const std::string& column, const std::string& table) {
  const auto keys = primaryKeysInTable(table);
  return std::find(keys.begin(), keys.end(), column) != keys.end();
}

bool KLDatabaseSchema::migrateOldUserTable() {
  return columnExists(kEncryptedStatus, kUsers)
             ? replaceTable(kUsers, "distinct_id TEXT, user_id TEXT, encryptedStatus INTEGER, update_time REAL",
                            "distinct_id, user_id, encryptedStatus, update_time")
             : replaceTable(kUsers, "distinct_id TEXT, user_id TEXT, update_time REAL", "distinct_id, user_id, update_time");
}

bool KLDatabaseSchema::migrateOldPopupConfigTable() {
  return columnExists(kEncryptedStatus, kPopupConfig)
             ? replaceTable(kPopupConfig,
                            "user_id TEXT, popup_config BLOB, global_limit BLOB, global_interval BLOB, encryptedStatus INTEGER, "
                            "update_time REAL",
                            "user_id, popup_config, global_limit, global_interval, encryptedStatus, update_time")
             : replaceTable(kPopupConfig,
                            "user_id TEXT, popup_config BLOB, global_limit BLOB, global_interval BLOB, update_time REAL",
                            "user_id, popup_config, global_limit, global_interval, update_time");
}

bool KLDatabaseSchema::replaceTable(const std::string& table, std::string_view declarations, std::string_view columns) {
  // An earlier release could be cut off between the steps and leave its copy behind, with the original still there.
  const std::string script = fmt::format(
      "DROP TABLE IF EXISTS {0}_copy;"
      "CREATE TABLE IF NOT EXISTS {0}_copy ({1});INSERT INTO {0}_copy ({2}) SELECT {2} FROM {0};DROP TABLE {0};"
      "ALTER TABLE {0}_copy RENAME TO {0}",
      table, declarations, columns);
  if (file_.connection().execute(script)) return true;
  file_.logFailure("migrate user table failed: ");  // for either table
  return false;
}

bool KLDatabaseSchema::addEncryptStatusColumn() {
  return std::all_of(kTables.begin(), kTables.end(), [this](const char* table) { return createColumn(kEncryptedStatus, table); });
}

bool KLDatabaseSchema::addProjectColumn(const std::string& project) {
  return std::all_of(kTables.begin(), kTables.end(), [&](const char* table) { return createColumn(kProject, project, table); });
}

bool KLDatabaseSchema::createColumn(const std::string& column, const std::string& table) {
  return columnExists(column, table) ||
         alterTable(fmt::format("ALTER TABLE {} ADD {} INTEGER NOT NULL DEFAULT (0);", table, column));
}

bool KLDatabaseSchema::createColumn(const std::string& column, const std::string& defaultValue, const std::string& table) {
  // A default must stand in the statement itself: it cannot be bound.
  return columnExists(column, table) || alterTable(fmt::format("ALTER TABLE {} ADD {} TEXT NOT NULL DEFAULT '{}';", table, column,
                                                               withDoubledQuotes(defaultValue)));
}

bool KLDatabaseSchema::alterTable(const std::string& sql) {
  KLSQLiteStatement statement = file_.connection().prepare(sql);
  if (!statement.isPrepared()) {
    file_.logFailure("Prepare create column query failure: ");
    return false;
  }
  if (statement.step() == KLSQLiteStatement::Step::Done) return true;
  file_.logFailure("Failed to create column, error: ");
  return false;
}

std::vector<std::string> KLDatabaseSchema::columnsInTable(const std::string& table) { return tableInfo(table, false); }

std::vector<std::string> KLDatabaseSchema::primaryKeysInTable(const std::string& table) { return tableInfo(table, true); }

bool KLDatabaseSchema::columnExists(const std::string& column, const std::string& table) {
  const auto columns = columnsInTable(table);
  return std::find(columns.begin(), columns.end(), column) != columns.end();
}

std::vector<std::string> KLDatabaseSchema::tableInfo(const std::string& table, bool primaryKeysOnly) {
  constexpr int nameColumn = 1;
  constexpr int primaryKeyColumn = 5;
  std::vector<std::string> names;
  KLSQLiteStatement statement = file_.connection().prepare(fmt::format("PRAGMA table_info('{}');", withDoubledQuotes(table)));
  if (!statement.isPrepared()) file_.logFailure("Prepare PRAGMA table_info query failure: ");
  while (statement.step() == KLSQLiteStatement::Step::Row) {
    if (!primaryKeysOnly || statement.integer(primaryKeyColumn) != 0) names.push_back(statement.text(nameColumn).value_or(""));
  }
  return names;
}

std::optional<int> KLDatabaseSchema::version() {
  KLSQLiteStatement statement = file_.connection().prepare("PRAGMA user_version;");
  if (!statement.isPrepared()) file_.logFailure("Failed to prepare statement, error:");
  if (statement.step() != KLSQLiteStatement::Step::Row) return std::nullopt;
  return static_cast<int>(statement.integer(0));
}

bool KLDatabaseSchema::setVersion(int version) {
  if (file_.connection().execute(fmt::format("PRAGMA user_version = {};", version))) return true;
  file_.logFailure("Set database schema version failed: ");
  return false;
}

}  // namespace kaleo
