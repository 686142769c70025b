#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Core/DataStore/KLDatabaseFile.h"

namespace kaleo {

/// The tables of the database, and how the file of any earlier release comes to have them.
///
/// A file starts with three tables. Two later releases each added a column to all of them ("encryptedStatus", "project"), one took
/// away primary keys so that a user can have rows in several projects. Whatever is missing is made up for in one transaction; a
/// file that has everything is only read.
/// Threads: those of the file. Lifetime: borrows both.
class KLDatabaseSchema {
 public:
  KLDatabaseSchema(KLDatabaseFile& file, const KLLog& log) : file_(file), log_(log) {}

  /// Rows from before projects were told apart get `project`. False: nothing has changed.
  bool createTables(const std::string& project);

  std::vector<std::string> columnsInTable(const std::string& table);
  std::vector<std::string> primaryKeysInTable(const std::string& table);
  bool columnExists(const std::string& column, const std::string& table);

  /// The file's "user_version"; nothing when it cannot be read.
  std::optional<int> version();
  bool setVersion(int version);

 private:
  bool isComplete();
  bool buildSchema(const std::string& project);
  bool createTable(const std::string& table, std::string_view columns);
  void createIndex(const std::string& column, const std::string& table);
  bool isPrimaryKey(const std::string& column, const std::string& table);
  bool migrateOldUserTable();
  bool migrateOldPopupConfigTable();
  bool replaceTable(const std::string& table, std::string_view declarations, std::string_view columns);
  bool addEncryptStatusColumn();
  bool addProjectColumn(const std::string& project);
  bool createColumn(const std::string& column, const std::string& table);
  bool createColumn(const std::string& column, const std::string& defaultValue, const std::string& table);
  bool alterTable(const std::string& sql);
  std::vector<std::string> tableInfo(const std::string& table, bool primaryKeysOnly);

  KLDatabaseFile& file_;
  const KLLog& log_;
};

}  // namespace kaleo
