#include "database/DatabaseCopy.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "Foundation/KLDescriptor.h"
#include "Foundation/KLFile.h"
#include "files/FileReading.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDatabaseHeader = "SQLite format 3";  // and a zero byte
constexpr std::size_t kHeaderBytes = 100;                        // holds a counter of transactions without a log
constexpr std::size_t kFormatOffset = 18, kLoggedFormat = 2;     // 2: the file keeps a write-ahead log
constexpr std::size_t kLogHeaderBytes = 32;                      // holds salts that are new each time the log begins anew
constexpr const char* kLogSuffix = "-wal";
constexpr std::array kSuffixes = {"", "-journal", kLogSuffix};  // the log last
constexpr int kTries = 50;

fs::path with(fs::path path, const char* suffix) { return path += suffix; }

/// The first `count` bytes of a file, or what there is.
KLBytes headerOf(const fs::path& path, std::size_t count) {
  const KLDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  KLBytes header(count);
  const ssize_t length = file ? ::pread(file.get(), header.data(), header.size(), 0) : 0;
  header.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  return header;
}

/// What shows whether a file was written to. The time alone does not: it moves on in steps of some milliseconds.
struct FileState {
  explicit FileState(const fs::path& path) : header(headerOf(path, kHeaderBytes)) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return;
    inode = status.st_ino;
    size = status.st_size;
    seconds = status.st_mtim.tv_sec;
    nanoseconds = status.st_mtim.tv_nsec;
  }
  friend bool operator==(const FileState&, const FileState&) = default;

  KLBytes header;
  ino_t inode = 0;
  off_t size = 0;
  time_t seconds = 0;
  long nanoseconds = 0;
};

using FileStates = std::array<FileState, kSuffixes.size()>;

FileStates statesOf(const fs::path& file) {
  return {FileState(with(file, kSuffixes[0])), FileState(with(file, kSuffixes[1])), FileState(with(file, kSuffixes[2]))};
}

/// Why the bytes of `file` are no database with something in it; "" when they are.
std::string whyNoDatabase(const fs::path& file, const KLBytes& bytes) {
  if (isDatabase(bytes)) return {};
  for (const std::string_view suffix : {"-wal", "-shm", "-journal"}) {
    const std::string name = file.string();
    if (!name.ends_with(suffix)) continue;
    return fmt::format("is only a companion of a database: give {}, with this file beside it",
                       name.substr(0, name.size() - suffix.size()));
  }
  if (bytes.empty()) return "is empty: nothing was ever written to it";
  const bool isJSON = bytes.front() == '{' || bytes.front() == '[';
  return isJSON ? "is JSON, no database: kaleo check looks through configurations and layouts" : "is no SQLite database";
}

}  // namespace

bool isDatabase(const KLBytes& bytes) {
  return bytes.size() > kDatabaseHeader.size() &&
         std::ranges::equal(kDatabaseHeader, std::string_view(reinterpret_cast<const char*>(bytes.data()), kDatabaseHeader.size()));
}

std::unique_ptr<DatabaseCopy> DatabaseCopy::take(const fs::path& file, std::string& error) {
  std::unique_ptr<DatabaseCopy> copy(new DatabaseCopy);
  if (copy->scratch_.path().empty()) {
    error = "no temporary directory can be made";
    return nullptr;
  }
  // The companions lie beside the file that a link points to.
  std::error_code ignored;
  const fs::path real = fs::canonical(file, ignored);
  std::string reason;
  if (!copy->copy(real.empty() ? file : real, reason)) {
    error = fmt::format("{} {}", file.string(), reason);
    return nullptr;
  }
  return copy;
}

bool DatabaseCopy::copy(const fs::path& file, std::string& error) {
  if (error = whyUnreadable(file, kMaxBytes); !error.empty()) return false;
  for (int i = 0; i < kTries; ++i) {
    const FileStates before = statesOf(file);
    const KLBytes log = headerOf(with(file, kLogSuffix), kLogHeaderBytes);
    for (const char* suffix : kSuffixes) {
      if (!copyPart(file, suffix, error)) return false;
    }
    const bool isOfOneMoment = log.empty() ? before == statesOf(file) : log == headerOf(with(file, kLogSuffix), kLogHeaderBytes);
    if (!isOfOneMoment) continue;
    lacksLog_ = lacksLog_ && log.empty();
    if (connection_.open(target(), {})) return true;
    error = fmt::format("{}: {}", connection_.isDamaged() ? "is damaged" : "cannot be opened", connection_.errorMessage());
    return false;
  }
  error = "is being written to without a pause: try again";
  return false;
}

bool DatabaseCopy::copyPart(const fs::path& file, const char* suffix, std::string& error) {
  const fs::path from = with(file, suffix), to = with(target(), suffix);
  const bool isCompanion = *suffix != '\0';
  KLFile::remove(to);
  if (isCompanion && !KLFile::exists(from)) return true;
  const auto bytes = KLFile::read(from, kMaxBytes);
  if (!bytes) {
    const std::string reason = whyUnreadable(from, kMaxBytes);
    if (isCompanion && !KLFile::exists(from)) return true;  // it went away just now, which is seen afterwards
    error = isCompanion ? fmt::format("has a companion, {}, which {}", from.filename().string(), reason) : reason;
    return false;
  }
  if (!isCompanion) {
    if (error = whyNoDatabase(file, *bytes); !error.empty()) return false;
    lacksLog_ = bytes->size() > kFormatOffset && (*bytes)[kFormatOffset] == kLoggedFormat;
  }
  if (KLFile::writeAtomically(to, *bytes, KLFile::Access::OwnerOnly)) return true;
  error = fmt::format("cannot be copied to {}", scratch_.path().string());
  return false;
}

std::string DatabaseCopy::damage() {
  std::string found;
  for (const std::string& line : texts("PRAGMA quick_check(5)")) {
    if (line != "ok") found += (found.empty() ? "" : "; ") + line;
  }
  return found.empty() && connection_.isDamaged() ? connection_.errorMessage() : found;
}

std::set<std::string> DatabaseCopy::tables() { return texts("SELECT name FROM sqlite_master WHERE type = 'table'"); }

std::set<std::string> DatabaseCopy::columnsOf(const std::string& table) {
  return texts("SELECT name FROM pragma_table_info(?)", table);
}

int DatabaseCopy::userVersion() {
  KLSQLiteStatement statement = connection_.prepare("PRAGMA user_version");
  return statement.step() == KLSQLiteStatement::Step::Row ? static_cast<int>(statement.integer(0)) : 0;
}

std::set<std::string> DatabaseCopy::texts(std::string_view sql, const std::string& argument) {
  std::set<std::string> found;
  KLSQLiteStatement statement = connection_.prepare(sql);
  if (!argument.empty()) statement.bind(1, argument);
  while (statement.step() == KLSQLiteStatement::Step::Row) found.insert(statement.text(0).value_or(""));
  return found;
}

}  // namespace kaleo::tools
