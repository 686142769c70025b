#include "Core/DataStore/KLDatabaseMigration.h"

#include <algorithm>

namespace kaleo {

namespace {

constexpr int kEncrypted = 1;
constexpr KLDatabaseFile::Texts kUserQuery{"select user query failure: ", "select user query failure: "};
// Both other queries have always been reported under this name.
constexpr KLDatabaseFile::Texts kTableQuery{"Prepare PRAGMA table_info query failure: ",
                                            "Prepare PRAGMA table_info query failure: "};

}  // namespace

bool KLDatabaseMigration::encryptAllRows() { return migrateUsers() && migratePopupConfig() && migratePlanWindow(); }

bool KLDatabaseMigration::migrateUsers() {
  const auto users = queryUsers();
  return users && std::all_of(users->begin(), users->end(), [this](const KLDatabaseUserObject& user) {
           return file_.write("INSERT INTO Users(distinct_id, user_id, update_time, encryptedStatus) values(?, ?, ?, ?)",
                              KLDatabaseFile::kTight, user.distinctId, user.userId, user.updateTime, kEncrypted);
         });
}

bool KLDatabaseMigration::migratePopupConfig() {
  const auto configs = queryPopupConfigs();
  return configs && std::all_of(configs->begin(), configs->end(), [this](const KLDatabasePopupConfigObject& config) {
           return file_.write(
               "INSERT INTO PopupConfig(user_id, popup_config, global_limit, global_interval, update_time, encryptedStatus) "
               "values(?, ?, ?, ?, ?, ?)",
               KLDatabaseFile::kTight, config.userId, config.popupConfig, config.globalLimit, config.globalInterval,
               config.updateTime, kEncrypted);
         });
}

bool KLDatabaseMigration::migratePlanWindow() {
  const auto windows = queryPlanWindows();
  return windows && std::all_of(windows->begin(), windows->end(), [this](const KLDatabasePlanWindowObject& window) {
           return file_.write(
               "INSERT INTO PlanWindows(user_id, plan_id, trigger_windows, convert_window, reEnter_window, interval_window, "
               "update_time, encryptedStatus) values(?, ?, ?, ?, ?, ?, ?, ?)",
               KLDatabaseFile::kTight, window.userId, window.planId, window.triggerWindow, window.convertWindow,
               window.reEnterWindow, window.intervalWindow, window.updateTime, kEncrypted);
         });
}

std::optional<std::vector<KLDatabaseUserObject>> KLDatabaseMigration::queryUsers() {
  std::vector<KLDatabaseUserObject> users;
  const auto take = [&](const KLSQLiteStatement& row) {
    users.push_back({row.text(0), row.text(1), row.real(2)});
    users.back().encryptObject(encryptor_);
    return true;
  };
  if (!file_.read("SELECT distinct_id, user_id, update_time FROM Users WHERE encryptedStatus = 0", kUserQuery, take)) return {};
  return users;
}

std::optional<std::vector<KLDatabasePopupConfigObject>> KLDatabaseMigration::queryPopupConfigs() {
  std::vector<KLDatabasePopupConfigObject> configs;
  const auto take = [&](const KLSQLiteStatement& row) {
    configs.push_back({row.text(0), row.bytes(1), row.bytes(2), row.bytes(3), row.real(4)});
    configs.back().encryptObject(encryptor_);
    return true;
  };
  if (!file_.read("SELECT user_id, popup_config, global_limit, global_interval, update_time FROM PopupConfig", kTableQuery, take)) {
    return {};
  }
  return configs;
}

std::optional<std::vector<KLDatabasePlanWindowObject>> KLDatabaseMigration::queryPlanWindows() {
  std::vector<KLDatabasePlanWindowObject> windows;
  const auto take = [&](const KLSQLiteStatement& row) {
    windows.push_back({row.text(0), row.text(1), row.bytes(2), row.bytes(3), row.bytes(4), row.bytes(5), row.real(6)});
    windows.back().encryptObject(encryptor_);
    return true;
  };
  if (!file_.read("SELECT user_id, plan_id, trigger_windows, convert_window, reEnter_window, interval_window, update_time "
                  "FROM PlanWindows",
                  kTableQuery, take)) {
    return {};
  }
  return windows;
}

bool KLDatabaseMigration::deleteUnencryptedData() {
  struct Deletion {
    const char* sql;
    std::string_view failure;
  };
  constexpr Deletion deletions[] = {
      {"DELETE FROM Users WHERE encryptedStatus = 0", "Delete unencrypted users failed with error: "},
      {"DELETE FROM PopupConfig WHERE encryptedStatus = 0", "Delete unencrypted popup_config failed with error: "},
      {"DELETE FROM PlanWindows WHERE encryptedStatus = 0", "Delete unencrypted popup_config failed with error: "},
  };
  return std::all_of(std::begin(deletions), std::end(deletions), [this](const Deletion& deletion) {
    if (file_.connection().execute(deletion.sql)) return true;
    file_.logFailure(deletion.failure);
    return false;
  });
}

}  // namespace kaleo
