#include "Core/DataStore/KLSQLite.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <array>

namespace kaleo {

namespace {

constexpr int kPrimaryCodeMask = 0xff;  // an extended result code holds the primary one in its low byte

// The statement's owner keeps what is bound until reset(): no copy.
const auto kBorrowed = SQLITE_STATIC;

}  // namespace

void KLSQLiteStatement::Finalize::operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }

void KLSQLiteStatement::bind(int index, std::string_view text) {
  const char* data = text.data() ? text.data() : "";  // a null pointer would bind NULL
  note(sqlite3_bind_text64(handle_.get(), index, data, text.size(), kBorrowed, SQLITE_UTF8));
}

void KLSQLiteStatement::bind(int index, const std::optional<std::string>& text) {
  if (text) return bind(index, std::string_view(*text));
  note(sqlite3_bind_null(handle_.get(), index));
}

void KLSQLiteStatement::bind(int index, const std::optional<KLBytes>& bytes) {
  if (!bytes || bytes->empty()) {
    note(sqlite3_bind_null(handle_.get(), index));
  } else {
    note(sqlite3_bind_blob64(handle_.get(), index, bytes->data(), bytes->size(), kBorrowed));
  }
}

void KLSQLiteStatement::bind(int index, double value) { note(sqlite3_bind_double(handle_.get(), index, value)); }

void KLSQLiteStatement::bind(int index, std::int64_t value) { note(sqlite3_bind_int64(handle_.get(), index, value)); }

KLSQLiteStatement::Step KLSQLiteStatement::step() {
  switch (handle_ && isBound_ ? sqlite3_step(handle_.get()) : SQLITE_MISUSE) {
    case SQLITE_ROW:
      return Step::Row;
    case SQLITE_DONE:
      return Step::Done;
    default:
      return Step::Failed;
  }
}

void KLSQLiteStatement::reset() {
  isBound_ = true;
  sqlite3_reset(handle_.get());
  if (handle_) sqlite3_clear_bindings(handle_.get());
}

std::optional<std::string> KLSQLiteStatement::text(int column) const {
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(handle_.get(), column));
  if (!data) return std::nullopt;
  return std::string(data, static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column)));
}

std::optional<KLBytes> KLSQLiteStatement::bytes(int column) const {
  const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(handle_.get(), column));
  if (!data) return std::nullopt;
  return KLBytes(data, data + sqlite3_column_bytes(handle_.get(), column));
}

double KLSQLiteStatement::real(int column) const { return sqlite3_column_double(handle_.get(), column); }

std::int64_t KLSQLiteStatement::integer(int column) const { return sqlite3_column_int64(handle_.get(), column); }

void KLSQLiteConnection::Close::operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }

bool KLSQLiteConnection::open(const std::filesystem::path& path, const std::string& vfs) {
  close();
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags, vfs.empty() ? nullptr : vfs.c_str());
  handle_.reset(handle);
  opened_ = code == SQLITE_OK && configure();
  // The statements that configure are right: a plain error of theirs speaks of the file.
  isUnknownFormat_ = code == SQLITE_OK && !opened_ && errorCode() == SQLITE_ERROR;
  return opened_;
}

bool KLSQLiteConnection::configure() {
  sqlite3* handle = handle_.get();
  sqlite3_busy_timeout(handle, kBusyMilliseconds);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kMaxRowBytes);
  sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  for (const int feature :
       std::array{SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_TRUSTED_SCHEMA}) {
    sqlite3_db_config(handle, feature, 0, nullptr);
  }
  // EXTRA is FULL in a write-ahead log; beside a rollback journal it makes the journal's end last, too.
  const std::string settings =
      fmt::format("PRAGMA synchronous=EXTRA;PRAGMA cell_size_check=ON;PRAGMA wal_autocheckpoint={};PRAGMA journal_size_limit={}",
                  kLogPages, kMaxLogBytes);
  if (!execute(settings)) return false;
  // A file that cannot be switched (read-only, no shared memory) works with the journal that it has.
  return execute("PRAGMA journal_mode=WAL") || !isDamaged();
}

void KLSQLiteConnection::close() {
  handle_.reset();
  opened_ = false;
  isUnknownFormat_ = false;
}

bool KLSQLiteConnection::execute(const std::string& script) {
  return handle_ && sqlite3_exec(handle_.get(), script.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

KLSQLiteStatement KLSQLiteConnection::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  if (handle_) sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()), 0, &statement, nullptr);
  return KLSQLiteStatement(statement);
}

std::int64_t KLSQLiteConnection::changes() const { return handle_ ? sqlite3_changes64(handle_.get()) : 0; }

int KLSQLiteConnection::errorCode() const { return handle_ ? sqlite3_extended_errcode(handle_.get()) : SQLITE_CANTOPEN; }

std::string KLSQLiteConnection::errorMessage() const {
  return handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(SQLITE_CANTOPEN);
}

bool KLSQLiteConnection::isOutOfMemory() const { return (errorCode() & kPrimaryCodeMask) == SQLITE_NOMEM; }

bool KLSQLiteConnection::hasMoved() const {
  int moved = 0;
  return handle_ && sqlite3_file_control(handle_.get(), nullptr, SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

bool KLSQLiteConnection::isDamaged() const {
  const int code = errorCode() & kPrimaryCodeMask;
  return code == SQLITE_CORRUPT || code == SQLITE_NOTADB || isUnknownFormat_;
}

KLSQLiteTransaction::KLSQLiteTransaction(KLSQLiteConnection& connection)
    : connection_(connection), begun_(connection.execute("BEGIN IMMEDIATE TRANSACTION")) {}

KLSQLiteTransaction::~KLSQLiteTransaction() {
  if (begun_) connection_.execute("ROLLBACK");
}

bool KLSQLiteTransaction::commit() {
  if (!begun_ || !connection_.execute("COMMIT")) return false;
  begun_ = false;
  return true;
}

}  // namespace kaleo
