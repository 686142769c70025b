#include "Core/DataStore/KLDatabaseFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "Foundation/KLFile.h"

namespace kaleo {

namespace fs = std::filesystem;

namespace {

/// Beside the file itself: its shared index, its write-ahead log and its rollback journal. The file comes last: a log that stayed
/// behind would be played into the file that takes its place.
constexpr std::array kSuffixes = {"-shm", "-wal", "-journal", ""};
constexpr std::string_view kDamagedMark = ".damaged-";

fs::path withSuffix(const fs::path& path, std::string_view suffix) {
  fs::path whole = path;
  whole += suffix;
  return whole;
}

void removeWhole(const fs::path& path) {
  std::error_code ignored;
  for (const char* suffix : kSuffixes) fs::remove(withSuffix(path, suffix), ignored);
}

bool isNumber(std::string_view text) { return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos; }

}  // namespace

KLDatabaseFile::KLDatabaseFile(fs::path path, const KLLog& log, const KLClock& clock, std::string vfs)
    : path_(std::move(path)), log_(log), clock_(clock), vfs_(std::move(vfs)) {}

bool KLDatabaseFile::open() {
  if (isOpen() || connect()) return true;
  if (connection_.isDamaged() && setAside() && connect()) return true;
  connection_.close();
  log_.error("Failed to open database");
  return false;
}

bool KLDatabaseFile::connect() {
  if (path_.empty()) return false;
  restrictToOwner();
  return connection_.open(path_, vfs_);
}

void KLDatabaseFile::close() {
  if (!isOpen()) return connection_.close();
  statements_.clear();
  connection_.close();
  log_.detail("KL SDK had closed database");
}

void KLDatabaseFile::restrictToOwner() const {
  std::error_code ignored;
  KLFile::makeDirectories(path_.parent_path(), KLFile::Access::OwnerOnly);
  // Only a file that is not there yet is opened here: closing a file drops the locks that another connection of this process holds.
  const int made = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (made >= 0) ::close(made);
  for (const char* suffix : kSuffixes) {
    const fs::path file = withSuffix(path_, suffix);
    if (!fs::is_regular_file(file, ignored)) continue;
    fs::permissions(file, fs::perms::group_all | fs::perms::others_all, fs::perm_options::remove, ignored);
  }
}

void KLDatabaseFile::letGo() {
  close();
  isDamaged_ = false;
  log_.error("Database file was removed or renamed while it was open, a new one takes its place");
}

bool KLDatabaseFile::setAside() {
  if (connection_.hasMoved()) {  // what is at the path now is not what was found damaged
    letGo();
    return true;
  }
  close();
  isDamaged_ = false;
  const fs::path target = withSuffix(path_, fmt::format("{}{}", kDamagedMark, static_cast<std::int64_t>(clock_.now())));
  for (const char* suffix : kSuffixes) {
    std::error_code error;
    fs::rename(withSuffix(path_, suffix), withSuffix(target, suffix), error);
    if (!error || error == std::errc::no_such_file_or_directory) continue;
    log_.error("Database file is damaged and cannot be moved aside: {}", error.message());
    return false;
  }
  log_.error("Database file is damaged, it was moved to {} and a new one takes its place", target.string());
  removeOldDamagedFiles();
  return true;
}

void KLDatabaseFile::removeOldDamagedFiles() const {
  const std::string prefix = withSuffix(path_.filename(), kDamagedMark).string();
  std::vector<std::string> stamps;
  std::error_code error;
  for (fs::directory_iterator entry(path_.parent_path(), error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with(prefix) && isNumber(name.substr(prefix.size()))) stamps.push_back(name.substr(prefix.size()));
  }
  std::sort(stamps.begin(), stamps.end(), [](const std::string& left, const std::string& right) {
    return left.size() != right.size() ? left.size() > right.size() : left > right;
  });
  for (std::size_t i = kMaxDamagedFiles; i < stamps.size(); ++i) removeWhole(path_.parent_path() / (prefix + stamps[i]));
}

KLSQLiteStatement* KLDatabaseFile::cachedStatementWithQuery(const std::string& sql) {
  if (sql.empty() || !isOpen()) return nullptr;
  if (const auto found = statements_.find(sql); found != statements_.end()) return &found->second;
  KLSQLiteStatement statement = connection_.prepare(sql);
  if (!statement.isPrepared()) {
    log_.error("sqlite stmt prepare error ({}): {}", connection_.errorCode(), connection_.errorMessage());
    return nullptr;
  }
  return &statements_.emplace(sql, std::move(statement)).first->second;
}

std::optional<std::int64_t> KLDatabaseFile::number(const std::string& sql) {
  std::optional<std::int64_t> found;
  const auto take = [&](const KLSQLiteStatement& row) {
    found = row.integer(0);
    return false;
  };
  return read(sql, kSpaced, take) ? found : std::nullopt;
}

void KLDatabaseFile::logFailure(std::string_view text) {
  noteFailure();
  if (log_.isEnabled()) log_.error("{}{}", text, connection_.errorMessage());
}

}  // namespace kaleo
