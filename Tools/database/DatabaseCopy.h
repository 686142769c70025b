#pragma once

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Core/DataStore/KLSQLite.h"
#include "files/ScratchDirectory.h"

namespace kaleo::tools {

/// Whether `bytes` begin as an SQLite database does (https://www.sqlite.org/fileformat2.html). One that nothing was written to is
/// empty and has no beginning.
bool isDatabase(const KLBytes& bytes);

/// A private copy of an SQLite database, for reading. The original is read and nothing else: it gets no lock, no journal, no shared
/// index and no new time of change, so that it may be in use, locked, or in a place that cannot be written to.
///
/// The copy is of one moment. What a running application has only in its write-ahead log is part of it. While the file is copied, a
/// checkpoint can write nothing into it but pages that its log holds, too; so the two fit together as long as the log has not
/// begun anew when the last byte was copied, which its header tells. Without such a log the files must not change meanwhile.
/// Otherwise the copying starts again. Threads: one.
class DatabaseCopy {
 public:
  static constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

  /// On failure answers null and `error` says why, for people.
  static std::unique_ptr<DatabaseCopy> take(const std::filesystem::path& file, std::string& error);
  DatabaseCopy(const DatabaseCopy&) = delete;
  DatabaseCopy& operator=(const DatabaseCopy&) = delete;

  KLSQLiteConnection& connection() { return connection_; }
  /// Whether the database keeps a write-ahead log of which there was none beside it: the application had closed it, or the log was
  /// not brought along.
  bool lacksLog() const { return lacksLog_; }
  /// What SQLite finds damaged; empty when nothing is.
  std::string damage();
  std::set<std::string> tables();
  std::set<std::string> columnsOf(const std::string& table);
  int userVersion();

 private:
  DatabaseCopy() = default;
  bool copy(const std::filesystem::path& file, std::string& error);
  /// Copies `file` or one of its companions; what is not there leaves nothing.
  bool copyPart(const std::filesystem::path& file, const char* suffix, std::string& error);
  std::filesystem::path target() const { return scratch_.path() / "database"; }
  std::set<std::string> texts(std::string_view sql, const std::string& argument = {});

  ScratchDirectory scratch_;
  bool lacksLog_ = false;
  KLSQLiteConnection connection_;  ///< closes before the directory goes
};

}  // namespace kaleo::tools
