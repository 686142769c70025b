#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/KLDatabaseFile.h"
#include "Core/DataStore/KLDatabaseObjects.h"
#include "Core/DataStore/KLDatabaseSchema.h"
#include "Core/DataStore/KLDatabaseTypes.h"
#include "Core/Nimbra/NBBridge.h"
#include "kaleo/KLClock.h"

namespace kaleo {

/// What a database stands on. Lifetime: borrowed, outlives the database.
struct KLDatabaseSurroundings {
  const KLLog& log;
  const KLClock& clock;
  const NBBridge& bridge;  ///< asked for the host's project at each operation, and once for a transaction
};

/// The one database and every operation on it: the map from distinct ids to user ids (Users), configurations and global windows of
/// each user (PopupConfig), and the windows of each plan (PlanWindows).
///
/// Ids and blobs come in as they are to be stored: whoever calls encrypts. Every operation but the deletions is limited to the rows
/// of the host's present project. Every operation makes sure first that the file is open and has its tables (`preCheck`), and
/// answers false or nothing, with a log line, when that or anything else fails: a disk that comes back is used again.
/// Threads: one at a time.
class KaleoDatabase {
 public:
  /// The schema version of a file whose rows have been encrypted.
  static constexpr int kEncryptedSchemaVersion = 2;

  /// Opens the file and makes its tables. `vfs` names the layer below SQLite; empty: the system's.
  KaleoDatabase(std::filesystem::path filePath, KLDatabaseSurroundings surroundings, std::string vfs = {});
  KaleoDatabase(const KaleoDatabase&) = delete;
  KaleoDatabase& operator=(const KaleoDatabase&) = delete;

  const std::filesystem::path& filePath() const { return file_.path(); }
  bool isOpen() const { return file_.isOpen(); }
  bool isTableCreated() const { return isTableCreated_; }
  /// The file's "user_version": 0 when rows may be from before encryption.
  int schemaVersion() const { return schemaVersion_; }
  KLDatabaseSchema& schema() { return schema_; }
  /// Rows written from now on count as encrypted; null: as plain. Lifetime: borrowed.
  void setEncryptor(const KLAESCrypt* encryptor) { encryptor_ = encryptor; }
  int encryptedStatus() const { return encryptor_ ? 1 : 0; }

  bool open() { return file_.open(); }
  void close();
  bool createTables();
  /// Opens and makes tables where that has not been done yet; replaces a file that proved damaged or was removed.
  bool preCheck();
  void getSchemaVersion();
  bool setSchemaVersion(int version);
  /// Encrypts every row of a file of version 0 and raises its version to 2: all of it or nothing. Needs an encryptor.
  bool migrate();

  /// Makes one unit of the operations until `commitTransaction`; false when the file is held by others or cannot be had.
  bool beginTransaction();
  /// False: none of the operations since `beginTransaction` took effect.
  bool commitTransaction();
  void rollbackTransaction() { transaction_.reset(); }

  std::optional<std::string> userIdWithDistinctId(const std::string& distinctId);
  bool saveUserId(const std::string& userId, const std::string& distinctId);

  std::optional<KLBytes> popupConfigWithUserId(const std::string& userId);
  bool savePopupConfig(const std::optional<KLBytes>& data, const std::string& userId);
  std::optional<KLBytes> globalWindowWithUserId(const std::string& userId, KLDatabaseProperName name);
  bool saveGlobalWindowData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name);

  std::optional<KLBytes> planWindowWithUserId(const std::string& userId, const std::string& planId, KLDatabaseProperName name);
  /// All plans' rows of a user, in the order of their making.
  std::vector<KLDatabasePlanWindowObject> planWindowsWithUserId(const std::string& userId);
  bool saveWindowData(const std::optional<KLBytes>& data, KLDatabaseProperName name, const std::string& userId,
                      const std::string& planId);

  bool rowExistsWithUserId(const std::string& userId, KLDatabaseTable table);
  bool rowExistsWithUserId(const std::string& userId, const std::string& planId);
  /// Gives the rows of `table` whose user id is `distinctId` the user id `userId`.
  bool correctUserId(const std::string& userId, const std::string& distinctId, KLDatabaseTable table);
  /// Deletes the rows of every project that were written more than `duration` seconds ago.
  bool deleteExpiredDataWithDuration(double duration, KLDatabaseTable table);
  bool deleteExpiredDataWithDuration(double duration);
  bool deleteAllDataInTable(KLDatabaseTable table);
  /// Empties all three tables, of every project.
  bool deleteAllPlans();

  static const char* tableNameWith(KLDatabaseTable table);
  /// "" for a number that is no column.
  static const char* columnNameWithProperName(KLDatabaseProperName name);

 private:
  bool replaceFile();
  double timestamp() const { return surroundings_.clock.now(); }
  std::string project() const { return transaction_ ? transactionProject_ : surroundings_.bridge.project(); }
  bool isWritten() const { return file_.connection().changes() > 0; }
  template <class... Values>
  bool rowExists(const std::string& sql, const Values&... values);
  template <class... Values>
  std::optional<KLBytes> selectBytes(const std::string& sql, const Values&... values);

  // Each save updates the rows that there are and inserts one where there is none; false: neither could be done.
  bool updateUserId(const std::string& userId, const std::string& distinctId);
  bool insertUserId(const std::string& userId, const std::string& distinctId);
  std::optional<KLBytes> selectData(const std::string& userId, KLDatabaseProperName name);
  bool saveData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name);
  bool updateData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name);
  bool insertData(const std::optional<KLBytes>& data, const std::string& userId, KLDatabaseProperName name);
  bool updateWindowData(const std::optional<KLBytes>& data, const std::string& userId, const std::string& planId,
                        KLDatabaseProperName name);
  bool insertWindowData(const std::optional<KLBytes>& data, const std::string& userId, const std::string& planId,
                        KLDatabaseProperName name);

  const KLDatabaseSurroundings surroundings_;
  const KLAESCrypt* encryptor_ = nullptr;
  int schemaVersion_ = 0;
  bool isTableCreated_ = false;
  KLDatabaseFile file_;
  KLDatabaseSchema schema_;
  std::optional<KLSQLiteTransaction> transaction_;
  std::string transactionProject_;
};

}  // namespace kaleo
