#pragma once

#include <optional>
#include <vector>

#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/KLDatabaseFile.h"
#include "Core/DataStore/KLDatabaseObjects.h"

namespace kaleo {

/// Rewrites a file whose rows are from before encryption: every row is written anew in encrypted form, then the plain ones go.
/// The copies count for the project that was present when the file got its project column.
/// Threads: those of the file. Lifetime: borrows both.
class KLDatabaseMigration {
 public:
  KLDatabaseMigration(KLDatabaseFile& file, const KLAESCrypt& encryptor) : file_(file), encryptor_(encryptor) {}

  /// To be called inside a transaction, which a false result leaves to be rolled back.
  bool encryptAllRows();
  bool deleteUnencryptedData();

 private:
  bool migrateUsers();
  bool migratePopupConfig();
  bool migratePlanWindow();
  std::optional<std::vector<KLDatabaseUserObject>> queryUsers();
  std::optional<std::vector<KLDatabasePopupConfigObject>> queryPopupConfigs();
  std::optional<std::vector<KLDatabasePlanWindowObject>> queryPlanWindows();

  KLDatabaseFile& file_;
  const KLAESCrypt& encryptor_;
};

}  // namespace kaleo
