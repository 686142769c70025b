#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLValue.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kaleo {

/// One prepared statement. An empty one (it could not be prepared) fails at each step.
/// Lifetime: must be gone before its connection closes. What is bound is borrowed until `reset`.
/// Threads: those of the connection.
class KLSQLiteStatement {
 public:
  enum class Step { Row, Done, Failed };

  KLSQLiteStatement() = default;
  explicit KLSQLiteStatement(sqlite3_stmt* handle) : handle_(handle) {}

  bool isPrepared() const { return handle_ != nullptr; }

  /// Parameters count from 1. Absent text and absent bytes are bound as NULL. After a value that cannot be bound (too long) the
  /// step fails.
  void bind(int index, std::string_view text);
  void bind(int index, const std::string& text) { bind(index, std::string_view(text)); }
  void bind(int index, const std::optional<std::string>& text);
  void bind(int index, const std::optional<KLBytes>& bytes);
  void bind(int index, double value);
  void bind(int index, std::int64_t value);
  void bind(int index, int value) { bind(index, static_cast<std::int64_t>(value)); }
  template <class... Values>
  void bindAll(const Values&... values) {
    int index = 0;
    static_cast<void>(((bind(++index, values), isBound_) && ...));  // up to what cannot be bound, which the error then names
  }

  Step step();
  /// Ends a run: gives up its locks and all that is bound.
  void reset();

  /// Columns of the present row count from 0. Text and bytes that are NULL are absent, and so are bytes of length 0; and so is what
  /// there is no memory for, as the connection's `isOutOfMemory` tells.
  std::optional<std::string> text(int column) const;
  std::optional<KLBytes> bytes(int column) const;
  double real(int column) const;
  std::int64_t integer(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const;
  };
  void note(int bindResult) { isBound_ = isBound_ && bindResult == 0; }

  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
  bool isBound_ = true;
};

/// A connection to one SQLite file (https://www.sqlite.org/fileformat2.html). Every failure is a false result; `errorMessage` says
/// what it was. Nothing throws.
///
/// A write-ahead log with full synchronisation: what a commit reported is there after a crash and after a power failure, and so it
/// is where the log cannot be had and SQLite falls back on its rollback journal. The file may come from anyone: triggers, views and
/// functions in its schema do not run, and no row longer than `kMaxRowBytes` is read.
/// Threads: one at a time.
class KLSQLiteConnection {
 public:
  /// How long a statement waits while another process or connection holds the file.
  static constexpr int kBusyMilliseconds = 5000;
  /// Beyond every configuration and window that we write.
  static constexpr int kMaxRowBytes = 64 << 20;
  /// Pages of 4 KiB in the log from which a commit copies it into the file. A quarter of SQLite's own: as quick, and a start after
  /// a crash has a quarter to read again.
  static constexpr int kLogPages = 256;
  /// Length to which the log is cut back after that.
  static constexpr int kMaxLogBytes = 1 << 20;

  /// Opens `path` for reading and writing, and makes it when it is missing. `vfs` names the layer below SQLite; empty: the
  /// system's. A connection that could not be opened keeps its error until the next `open` or `close`.
  bool open(const std::filesystem::path& path, const std::string& vfs);
  /// Statements must be gone. A transaction that is under way is rolled back.
  void close();
  bool isOpen() const { return handle_ != nullptr && opened_; }

  /// Runs all statements of `script`, up to the first that fails.
  bool execute(const std::string& script);
  KLSQLiteStatement prepare(std::string_view sql);

  /// Rows that the last statement which writes has changed.
  std::int64_t changes() const;
  /// The extended result code and the text of the last failure.
  int errorCode() const;
  std::string errorMessage() const;
  bool isOutOfMemory() const;
  /// Whether the file that is open is no longer the one at its path: it was removed or renamed. Asks the file system.
  bool hasMoved() const;
  /// Whether the last failure says that the file is no database, a damaged one, or of a format that this SQLite does not know.
  bool isDamaged() const;

 private:
  bool configure();

  struct Close {
    void operator()(sqlite3* handle) const;
  };
  std::unique_ptr<sqlite3, Close> handle_;
  bool opened_ = false;
  bool isUnknownFormat_ = false;
};

/// Ends a statement's run when it goes out of scope.
class KLSQLiteRun {
 public:
  explicit KLSQLiteRun(KLSQLiteStatement& statement) : statement_(statement) {}
  ~KLSQLiteRun() { statement_.reset(); }
  KLSQLiteRun(const KLSQLiteRun&) = delete;
  KLSQLiteRun& operator=(const KLSQLiteRun&) = delete;

 private:
  KLSQLiteStatement& statement_;
};

/// A transaction that holds the write lock from its beginning, rolled back unless it was committed.
class KLSQLiteTransaction {
 public:
  explicit KLSQLiteTransaction(KLSQLiteConnection& connection);
  ~KLSQLiteTransaction();
  KLSQLiteTransaction(const KLSQLiteTransaction&) = delete;
  KLSQLiteTransaction& operator=(const KLSQLiteTransaction&) = delete;

  bool isBegun() const { return begun_; }
  /// When false is answered, the transaction is rolled back as the object goes.
  bool commit();

 private:
  KLSQLiteConnection& connection_;
  bool begun_;
};

}  // namespace kaleo
