#include "Core/DataStore/KaleoDatabase.h"

#include <algorithm>
#include <array>

#include "Core/DataStore/KLDatabaseMigration.h"

namespace kaleo {

namespace {

constexpr auto kTight = KLDatabaseFile::kTight;
constexpr auto kSpaced = KLDatabaseFile::kSpaced;
constexpr auto kSpacedStep = KLDatabaseFile::kSpacedStep;

constexpr std::array kColumns = {"trigger_windows", "convert_window", "reEnter_window", "interval_window", "global_interval",
                                 "global_limit",    "popup_config",   "plan_id",        "update_time",     "encryptedStatus"};

/// One statement for each column, made once.
class ColumnStatements {
 public:
  /// `{}` stands for the column.
  explicit ColumnStatements(fmt::format_string<const char*> text) {
    for (std::size_t i = 0; i <= kColumns.size(); ++i) {
      texts_[i] = fmt::format(text, KaleoDatabase::columnNameWithProperName(static_cast<KLDatabaseProperName>(i)));
    }
  }
  const std::string& operator[](KLDatabaseProperName name) const {
    return texts_[std::min(static_cast<std::size_t>(name), kColumns.size())];
  }

 private:
  std::array<std::string, kColumns.size() + 1> texts_;  ///< the last for what is no column
};

constexpr std::array kAllTables = {KLDatabaseTable::Users, KLDatabaseTable::PopupConfig, KLDatabaseTable::PlanWindows};

}  // namespace

KaleoDatabase::KaleoDatabase(std::filesystem::path filePath, KLDatabaseSurroundings surroundings, std::string vfs)
    : surroundings_(surroundings),
      file_(std::move(filePath), surroundings.log, surroundings.clock, std::move(vfs)),
      schema_(file_, surroundings.log) {
  preCheck();
}

void KaleoDatabase::close() {
  transaction_.reset();
  isTableCreated_ = false;
  file_.close();
}

bool KaleoDatabase::createTables() {
  if (!isOpen()) return false;
  if (isTableCreated_) return true;
  isTableCreated_ = schema_.createTables(project());
  if (isTableCreated_) getSchemaVersion();
  return isTableCreated_;
}

bool KaleoDatabase::preCheck() {
  if (transaction_) return !file_.isDamaged();
  const bool hasMoved = file_.hasMoved();
  if (!hasMoved && !file_.isDamaged() && open() && createTables()) return true;
  return (hasMoved || file_.isDamaged()) && replaceFile();
}

bool KaleoDatabase::replaceFile() {
  isTableCreated_ = false;
  if (!file_.setAside() || !open() || !createTables()) return false;
  migrate();  // marks the new file as one without plain rows
  return true;
}

void KaleoDatabase::getSchemaVersion() { schemaVersion_ = schema_.version().value_or(schemaVersion_); }

bool KaleoDatabase::setSchemaVersion(int version) {
  const bool done = schema_.setVersion(version);
  if (done) schemaVersion_ = version;
  return done;
}

bool KaleoDatabase::migrate() {
  if (schemaVersion_ != 0 || !encryptor_ || !beginTransaction()) return false;
  getSchemaVersion();  // another process may have been first
  KLDatabaseMigration migration(file_, *encryptor_);
  const bool done = schemaVersion_ == 0 && migration.encryptAllRows() && schema_.setVersion(kEncryptedSchemaVersion) &&
                    migration.deleteUnencryptedData() && commitTransaction();
  rollbackTransaction();
  if (done) schemaVersion_ = kEncryptedSchemaVersion;
  return done;
}

bool KaleoDatabase::beginTransaction() {
  transaction_.reset();
  if (!preCheck()) return false;
  transactionProject_ = surroundings_.bridge.project();
  transaction_.emplace(file_.connection());
  if (transaction_->isBegun()) return true;
  file_.logFailure("Failed to begin transaction, error:");
  transaction_.reset();
  return false;
}

bool KaleoDatabase::commitTransaction() {
  const bool done = transaction_ && transaction_->commit();
  if (transaction_ && !done) file_.logFailure("Failed to commit transaction, error:");
  transaction_.reset();
  return done;
}

template <class... Values>
bool KaleoDatabase::rowExists(const std::string& sql, const Values&... values) {
  bool found = false;
  if (preCheck())
    file_.read(
        sql, kTight, [&](const KLSQLiteStatement&) { return !(found = true); }, values..., project());
  return found;
}

template <class... Values>
std::optional<KLBytes> KaleoDatabase::selectBytes(const std::string& sql, const Values&... values) {
  std::optional<KLBytes> data;
  const auto take = [&](const KLSQLiteStatement& row) {
    data = row.bytes(0);
    return false;
  };
  if (preCheck()) file_.read(sql, kTight, take, values..., project());
  return data;
}

std::optional<std::string> KaleoDatabase::userIdWithDistinctId(const std::string& distinctId) {
  std::optional<std::string> userId;
  const auto take = [&](const KLSQLiteStatement& row) {
    userId = row.text(0);
    return false;
  };
  if (preCheck())
    file_.read("SELECT user_id FROM Users WHERE distinct_id = ? AND project = ?", kTight, take, distinctId, project());
  return userId;
}

bool KaleoDatabase::saveUserId(const std::string& userId, const std::string& distinctId) {
  return updateUserId(userId, distinctId) && (isWritten() || insertUserId(userId, distinctId));
}

bool KaleoDatabase::updateUserId(const std::string& userId, const std::string& distinctId) {
  return preCheck() && file_.write("UPDATE Users SET user_id = ?, update_time = ? WHERE distinct_id = ? AND project = ?", kTight,
                                   userId, timestamp(), distinctId, project());
}

bool KaleoDatabase::insertUserId(const std::string& userId, const std::string& distinctId) {
  return preCheck() &&
         file_.write("INSERT INTO Users (distinct_id, user_id, update_time, encryptedStatus, project) VALUES (?, ?, ?, ?, ?)",
                     kTight, distinctId, userId, timestamp(), encryptedStatus(), project());
}

std::optional<KLBytes> KaleoDatabase::selectData(const std::string& userId, KLDatabaseProperName name) {
  static const ColumnStatements statements("SELECT {} FROM PopupConfig WHERE user_id = ? AND project = ?");
  return selectBytes(statements[name], userId);
}

bool KaleoDatabase::saveData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name) {
  return updateData(data, userId, name) && (isWritten() || insertData(data, userId, name));
}

bool KaleoDatabase::updateData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name) {
  static const ColumnStatements statements("UPDATE PopupConfig SET {} = ?, update_time = ? WHERE user_id = ? AND project = ?");
  return preCheck() && file_.write(statements[name], kTight, data, timestamp(), userId, project());
}

bool KaleoDatabase::insertData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name) {
  static const ColumnStatements statements(
      "INSERT INTO PopupConfig ({}, user_id, update_time, encryptedStatus, project) VALUES (?, ?, ?, ?, ?)");
  return preCheck() && file_.write(statements[name], kTight, data, userId, timestamp(), encryptedStatus(), project());
}

std::optional<KLBytes> KaleoDatabase::popupConfigWithUserId(const std::string& userId) {
  return selectData(userId, KLDatabaseProperName::PopupConfig);
}

bool KaleoDatabase::savePopupConfig(const std::optional<KLBytes>& data, const std::string& userId) {
  return saveData(data, userId, KLDatabaseProperName::PopupConfig);
}

std::optional<KLBytes> KaleoDatabase::globalWindowWithUserId(const std::string& userId, KLDatabaseProperName name) {
  return selectData(userId, name);
}

bool KaleoDatabase::saveGlobalWindowData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name) {
  return saveData(data, userId, name);
}

std::optional<KLBytes> KaleoDatabase::planWindowWithUserId(const std::string& userId, const std::string& planId,
                                                           KLDatabaseProperName name) {
  static const ColumnStatements statements("SELECT {} FROM PlanWindows WHERE user_id = ? AND plan_id = ? AND project = ?");
  return selectBytes(statements[name], userId, planId);
}

std::vector<KLDatabasePlanWindowObject> KaleoDatabase::planWindowsWithUserId(const std::string& userId) {
  std::vector<KLDatabasePlanWindowObject> windows;
  const auto take = [&](const KLSQLiteStatement& row) {
    windows.push_back({userId, row.text(0), row.bytes(1), row.bytes(2), row.bytes(3), row.bytes(4), row.real(5)});
    return true;
  };
  if (preCheck()) {
    const bool done = file_.read(
        "SELECT plan_id, trigger_windows, convert_window, reEnter_window, interval_window, update_time FROM PlanWindows "
        "WHERE user_id = ? AND project = ? ORDER BY rowid",
        kTight, take, userId, project());
    if (!done) windows.clear();
  }
  return windows;
}

bool KaleoDatabase::saveWindowData(const std::optional<KLBytes>& data, KLDatabaseProperName name, const std::string& userId,
                                   const std::string& planId) {
  return updateWindowData(data, userId, planId, name) && (isWritten() || insertWindowData(data, userId, planId, name));
}

bool KaleoDatabase::updateWindowData(const std::optional<KLBytes>& data, const std::string& userId, const std::string& planId,
                                     KLDatabaseProperName name) {
  static const ColumnStatements statements(
      "UPDATE PlanWindows SET {} = ?, update_time = ? WHERE user_id = ? AND plan_id = ? AND project = ?");
  return preCheck() && file_.write(statements[name], kSpacedStep, data, timestamp(), userId, planId, project());
}

bool KaleoDatabase::insertWindowData(const std::optional<KLBytes>& data, const std::string& userId, const std::string& planId,
                                     KLDatabaseProperName name) {
  static const ColumnStatements statements(
      "INSERT INTO PlanWindows (user_id, plan_id, {}, update_time, encryptedStatus, project) VALUES (?, ?, ?, ?, ?, ?)");
  return preCheck() && file_.write(statements[name], kTight, userId, planId, data, timestamp(), encryptedStatus(), project());
}

bool KaleoDatabase::rowExistsWithUserId(const std::string& userId, KLDatabaseTable table) {
  return rowExists(fmt::format("SELECT user_id, update_time FROM {} WHERE user_id = ? AND project = ?", tableNameWith(table)),
                   userId);
}

bool KaleoDatabase::rowExistsWithUserId(const std::string& userId, const std::string& planId) {
  return rowExists("SELECT user_id, update_time FROM PlanWindows WHERE user_id = ? AND plan_id = ? AND project = ?", userId,
                   planId);
}

bool KaleoDatabase::correctUserId(const std::string& userId, const std::string& distinctId, KLDatabaseTable table) {
  return preCheck() && file_.write(fmt::format("UPDATE {} SET user_id = ?, update_time = ? WHERE user_id = ? AND project = ?",
                                               tableNameWith(table)),
                                   kSpacedStep, userId, timestamp(), distinctId, project());
}

bool KaleoDatabase::deleteExpiredDataWithDuration(double duration, KLDatabaseTable table) {
  return preCheck() &&
         file_.write(fmt::format("DELETE FROM {} WHERE update_time < ?", tableNameWith(table)), kSpaced, timestamp() - duration);
}

bool KaleoDatabase::deleteExpiredDataWithDuration(double duration) {
  bool done = true;
  for (const KLDatabaseTable table : kAllTables) done = deleteExpiredDataWithDuration(duration, table) && done;
  return done;
}

bool KaleoDatabase::deleteAllDataInTable(KLDatabaseTable table) {
  if (!preCheck()) return false;
  if (file_.connection().execute(fmt::format("DELETE FROM {}", tableNameWith(table)))) return true;
  file_.logFailure(fmt::format("Failed to delete all records in table: {} with error: ", tableNameWith(table)));
  return false;
}

bool KaleoDatabase::deleteAllPlans() {
  bool done = true;
  for (const KLDatabaseTable table : kAllTables) done = deleteAllDataInTable(table) && done;
  return done;
}

const char* KaleoDatabase::tableNameWith(KLDatabaseTable table) {
  switch (table) {
    case KLDatabaseTable::PopupConfig:
      return "PopupConfig";
    case KLDatabaseTable::PlanWindows:
      return "PlanWindows";
    default:
      return "Users";
  }
}

const char* KaleoDatabase::columnNameWithProperName(KLDatabaseProperName name) {
  const auto index = static_cast<std::size_t>(name);
  return index < kColumns.size() ? kColumns[index] : "";
}

}  // namespace kaleo
