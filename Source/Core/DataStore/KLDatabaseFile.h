#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Core/Base/Log/KLLog.h"
#include "Core/DataStore/KLSQLite.h"
#include "kaleo/KLClock.h"

namespace kaleo {

/// What the log lines of a failing statement begin with; SQLite's message follows.
struct KLStatementTexts {
  std::string_view prepare;
  std::string_view step;
};

/// The database file on disk: its connection, its prepared statements, and what happens when it cannot be used.
///
/// A file that is damaged or no database is moved aside ("<name>.damaged-<seconds since 1970>", with what belongs to it) and
/// replaced by a new one; of the files moved aside the newest `kMaxDamagedFiles` are kept. A file that was removed while it was
/// open is let go, and so is one that another process has set aside. The file is readable by its owner alone, and so are
/// directories that are made here; a directory that is there already stays as it is. Threads: one at a time. Lifetime: borrows log
/// and clock.
class KLDatabaseFile {
 public:
  static constexpr std::size_t kMaxDamagedFiles = 2;

  using Texts = KLStatementTexts;
  static constexpr Texts kTight{"Failed to prepare statement, error:", "Failed to step statement, error:"};
  static constexpr Texts kSpaced{"Failed to prepare statement, error: ", "Failed to step statement, error: "};
  static constexpr Texts kSpacedStep{kTight.prepare, kSpaced.step};

  KLDatabaseFile(std::filesystem::path path, const KLLog& log, const KLClock& clock, std::string vfs);
  ~KLDatabaseFile() { close(); }
  KLDatabaseFile(const KLDatabaseFile&) = delete;
  KLDatabaseFile& operator=(const KLDatabaseFile&) = delete;

  const std::filesystem::path& path() const { return path_; }
  KLSQLiteConnection& connection() { return connection_; }
  const KLSQLiteConnection& connection() const { return connection_; }
  bool isOpen() const { return connection_.isOpen(); }
  /// Whether a statement found the file damaged since it was opened.
  bool isDamaged() const { return isDamaged_; }

  /// Whether another file, or none, is at the path of the one that is open. Asks the file system.
  bool hasMoved() const { return isOpen() && connection_.hasMoved(); }

  /// Opens the file, in place of a damaged one if need be.
  bool open();
  void close();
  /// Closes the file and moves it out of the way, unless that has been done by someone else.
  bool setAside();
  /// Closes a file that has moved.
  void letGo();

  /// The statement of `sql`, prepared at its first use; null when it cannot be prepared. Values are to be bound, never written into
  /// the text, so that there are no more texts than operations and columns.
  KLSQLiteStatement* cachedStatementWithQuery(const std::string& sql);
  /// Runs one statement that answers no rows.
  template <class... Values>
  bool write(const std::string& sql, const Texts& texts, const Values&... values);
  /// Hands rows to `row` until it answers false. False: the statement failed.
  template <class Row, class... Values>
  bool read(const std::string& sql, const Texts& texts, const Row& row, const Values&... values);
  /// The first column of the first row; nothing without a row, and when the statement failed.
  std::optional<std::int64_t> number(const std::string& sql);
  /// Logs `text` with the connection's last error, and remembers when that was damage.
  void logFailure(std::string_view text);
  /// Remembers when the last error was damage.
  void noteFailure() { isDamaged_ = isDamaged_ || connection_.isDamaged(); }

 private:
  bool connect();
  void restrictToOwner() const;
  void removeOldDamagedFiles() const;

  const std::filesystem::path path_;
  const KLLog& log_;
  const KLClock& clock_;
  const std::string vfs_;
  bool isDamaged_ = false;
  KLSQLiteConnection connection_;
  std::unordered_map<std::string, KLSQLiteStatement> statements_;
};

template <class... Values>
bool KLDatabaseFile::write(const std::string& sql, const Texts& texts, const Values&... values) {
  KLSQLiteStatement* statement = cachedStatementWithQuery(sql);
  if (!statement) {
    logFailure(texts.prepare);
    return false;
  }
  KLSQLiteRun run(*statement);
  statement->bindAll(values...);
  if (statement->step() == KLSQLiteStatement::Step::Done) return true;
  logFailure(texts.step);
  return false;
}

template <class Row, class... Values>
bool KLDatabaseFile::read(const std::string& sql, const Texts& texts, const Row& row, const Values&... values) {
  KLSQLiteStatement* statement = cachedStatementWithQuery(sql);
  if (!statement) {
    logFailure(texts.prepare);
    return false;
  }
  KLSQLiteRun run(*statement);
  statement->bindAll(values...);
  for (;;) {
    const auto step = statement->step();
    const bool goesOn = step == KLSQLiteStatement::Step::Row && row(*statement);
    if (step == KLSQLiteStatement::Step::Failed || connection_.isOutOfMemory()) {
      logFailure(texts.step);
      return false;
    }
    if (!goesOn) return true;
  }
}

}  // namespace kaleo
