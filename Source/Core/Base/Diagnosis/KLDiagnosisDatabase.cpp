#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Foundation/KLJSON.h"

namespace kaleo {
namespace {

constexpr const char* kSchema =
    "PRAGMA user_version = 2;"
    "CREATE TABLE IF NOT EXISTS Journeys (id INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, project TEXT, user_id TEXT, "
    "distinct_id TEXT, plan_id TEXT, state INTEGER NOT NULL, type INTEGER NOT NULL, content TEXT, encryptedStatus INTEGER NOT "
    "NULL, "
    "acknowledged INTEGER NOT NULL DEFAULT 0, event TEXT);"
    "CREATE INDEX IF NOT EXISTS index_time ON Journeys (time);"
    "CREATE INDEX IF NOT EXISTS index_unacknowledged ON Journeys (id) WHERE acknowledged = 0;"
    "CREATE TABLE IF NOT EXISTS Users (distinct_id TEXT PRIMARY KEY, user_id TEXT);"
    "CREATE TABLE IF NOT EXISTS JourneyIds (user_id TEXT, plan_id TEXT, journey_id TEXT, PRIMARY KEY (user_id, plan_id));"
    "CREATE TABLE IF NOT EXISTS Installation (id TEXT);";

/// What version 1 did not have.
constexpr const char* kUpgrade = "ALTER TABLE Journeys ADD COLUMN event TEXT; PRAGMA user_version = 2;";

constexpr auto& kTexts = KLDatabaseFile::kSpaced;
/// When there is too much, a quarter goes, so that it does not happen at each batch.
constexpr std::int64_t kShare = 4;
constexpr int kMaxRounds = 8;

/// What is kept of a record's content. Null for what no user of the database should have to read at that length.
std::string contentOf(const KLDiagnosisRecord& record) {
  std::string text = KLJSON::serialize(record.content);
  if (text.size() <= KLDiagnosisDatabase::kMaxContentBytes) return text;
  KLObject rest;
  rest.setIfPresent(kQuillonDiagnosticInfoKeyMessage, record.content.find(kQuillonDiagnosticInfoKeyMessage));
  rest.set("left_out_bytes", static_cast<std::int64_t>(text.size()));
  return KLJSON::serialize(std::move(rest));
}

/// What became of a popup is kept as if the server had it: it would not know what to make of it.
bool isOutcome(const KLDiagnosisRecord& record) { return record.state > KLDiagnosisState::Finished; }

/// "AND (a IN (?, ...) OR b IN (?, ...))" for what is asked for, with a place for each id.
std::string places(std::size_t count) {
  std::string text = "(";
  for (std::size_t i = 0; i < count; ++i) text += i == 0 ? "?" : ", ?";
  return text + ")";
}

}  // namespace

KLDiagnosisDatabase::KLDiagnosisDatabase(std::filesystem::path file, const KLLog& log, const KLClock& clock, KLRandom& random,
                                         std::string vfs)
    : clock_(clock), random_(random), file_(std::move(file), log, clock, std::move(vfs)) {}

bool KLDiagnosisDatabase::prepare() {
  if (file_.isDamaged() && !file_.setAside()) return false;
  if (file_.hasMoved()) file_.letGo();
  if (!file_.isOpen()) hasTables_ = false;
  return file_.open() && (hasTables_ || createTables());
}

bool KLDiagnosisDatabase::createTables() {
  KLSQLiteTransaction transaction(file_.connection());
  const auto version = transaction.isBegun() ? number("PRAGMA user_version") : std::nullopt;
  if (version && file_.connection().execute(*version == 1 ? kUpgrade : kSchema) && transaction.commit()) return hasTables_ = true;
  file_.logFailure("Failed to make the tables of the diagnosis, error: ");
  return false;
}

std::optional<std::string> KLDiagnosisDatabase::encrypted(const std::string& text) const {
  // "" has no encrypted form and says nothing.
  return encryptor_ && !text.empty() ? encryptor_->encryptString(text) : text;
}

std::string KLDiagnosisDatabase::decrypted(const std::optional<std::string>& text, bool isEncrypted) const {
  if (!text || !isEncrypted || text->empty()) return text.value_or("");
  return encryptor_ ? encryptor_->decryptString(*text).value_or("") : "";
}

bool KLDiagnosisDatabase::append(const std::vector<KLDiagnosisRecord>& records, const std::string& project) {
  if (!prepare()) return false;
  KLSQLiteTransaction transaction(file_.connection());
  const bool isWhole =
      transaction.isBegun() &&
      std::all_of(records.begin(), records.end(), [&](const auto& record) { return appendRow(record, project); }) && shrink() &&
      transaction.commit();
  if (!isWhole) file_.logFailure("Failed to keep diagnosis records, error: ");
  return isWhole;
}

bool KLDiagnosisDatabase::appendRow(const KLDiagnosisRecord& record, const std::string& project) {
  static const KLDiagnosisUser kNobody;
  const KLDiagnosisUser& user = record.user ? *record.user : kNobody;
  return file_.write(
      "INSERT INTO Journeys (time, project, user_id, distinct_id, plan_id, state, type, content, encryptedStatus, "
      "event, acknowledged) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
      kTexts, record.time, project, encrypted(user.userId), encrypted(user.distinctId), encrypted(record.planId),
      static_cast<int>(record.state), static_cast<int>(record.type), encrypted(contentOf(record)), encryptor_ ? 1 : 0,
      encrypted(record.event), isOutcome(record) ? 1 : 0);
}

bool KLDiagnosisDatabase::shrink() {
  if (!file_.write("DELETE FROM Journeys WHERE id <= (SELECT max(id) FROM Journeys) - ?", kTexts, kMaxRecords)) return false;
  for (int i = 0; i < kMaxRounds; ++i) {
    const auto pages = number("PRAGMA page_count"), free = number("PRAGMA freelist_count"), size = number("PRAGMA page_size");
    if (!pages || !free || !size) return false;
    if ((*pages - *free) * *size <= kMaxBytes) return true;
    if (!file_.write("DELETE FROM Journeys WHERE id <= (SELECT min(id) + (max(id) - min(id)) / ? FROM Journeys)", kTexts, kShare)) {
      return false;
    }
  }
  return true;
}

std::optional<std::int64_t> KLDiagnosisDatabase::number(const std::string& sql) {
  std::optional<std::int64_t> found;
  const auto take = [&](const KLSQLiteStatement& row) {
    found = row.integer(0);
    return false;
  };
  return file_.read(sql, kTexts, take) ? found : std::nullopt;
}

bool KLDiagnosisDatabase::deleteBefore(std::int64_t time) {
  return prepare() && file_.write("DELETE FROM Journeys WHERE time < ?", kTexts, time);
}

bool KLDiagnosisDatabase::saveUserId(const std::string& userId, const std::string& distinctId) {
  return prepare() && file_.write("INSERT OR REPLACE INTO Users (distinct_id, user_id) VALUES (?, ?)", kTexts,
                                  encrypted(distinctId), encrypted(userId));
}

std::string KLDiagnosisDatabase::userIdWithDistinctId(const std::string& distinctId) {
  std::string userId;
  const auto take = [&](const KLSQLiteStatement& row) {
    userId = decrypted(row.text(0), encryptor_ != nullptr);
    return false;
  };
  if (prepare()) file_.read("SELECT user_id FROM Users WHERE distinct_id = ?", kTexts, take, encrypted(distinctId));
  return userId;
}

bool KLDiagnosisDatabase::saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& planId) {
  return prepare() && file_.write("INSERT OR REPLACE INTO JourneyIds (user_id, plan_id, journey_id) VALUES (?, ?, ?)", kTexts,
                                  encrypted(userId), encrypted(planId), encrypted(journeyId));
}

std::string KLDiagnosisDatabase::installationId() {
  if (!prepare()) return {};
  file_.write("INSERT INTO Installation (id) SELECT ? WHERE NOT EXISTS (SELECT 1 FROM Installation)", kTexts, random_.uuid());
  std::string id;
  const auto take = [&](const KLSQLiteStatement& row) {
    id = row.text(0).value_or("");
    return false;
  };
  file_.read("SELECT id FROM Installation", kTexts, take);
  return id;
}

std::vector<KLKeptDiagnosisRecord> KLDiagnosisDatabase::unacknowledged(const KLDiagnosisCondition& condition, std::int64_t most,
                                                                       std::size_t maxBytes) {
  std::vector<KLKeptDiagnosisRecord> records;
  if (!prepare()) return records;
  // The texts to compare with, in the order of their places. Rows may be plain or encrypted, whatever is written now.
  std::vector<std::string> texts;
  const auto anyOf = [&](const char* column, const std::vector<std::string>& ids) {
    for (const std::string& id : ids) {
      texts.push_back(id);
      texts.push_back(encrypted(id).value_or(id));
    }
    return fmt::format("{} IN {}", column, places(2 * ids.size()));
  };
  std::string sql =
      "SELECT id, time, project, user_id, distinct_id, plan_id, state, type, content, encryptedStatus, event FROM Journeys "
      "WHERE acknowledged = 0 AND time >= ? AND time <= ?";
  if (!condition.userIds.empty() || !condition.distinctIds.empty()) {
    sql += " AND (" + anyOf("user_id", condition.userIds);
    sql += " OR " + anyOf("distinct_id", condition.distinctIds) + ")";
  }
  if (!condition.planIds.empty()) sql += " AND (plan_id = '' OR " + anyOf("plan_id", condition.planIds) + ")";
  sql += " ORDER BY id LIMIT ?";
  KLSQLiteStatement statement = file_.connection().prepare(sql);
  int place = 0;
  statement.bind(++place, condition.startTime);
  statement.bind(++place, condition.endTime);
  for (const std::string& text : texts) statement.bind(++place, text);
  statement.bind(++place, most);
  std::size_t bytes = 0;
  KLSQLiteStatement::Step step;
  while ((step = statement.step()) == KLSQLiteStatement::Step::Row) {
    const bool isEncrypted = statement.integer(9) != 0;
    KLKeptDiagnosisRecord record{statement.integer(0),
                                 statement.integer(1),
                                 statement.text(2).value_or(""),
                                 {decrypted(statement.text(3), isEncrypted), decrypted(statement.text(4), isEncrypted)},
                                 decrypted(statement.text(5), isEncrypted),
                                 statement.integer(6),
                                 statement.integer(7),
                                 decrypted(statement.text(8), isEncrypted),
                                 decrypted(statement.text(10), isEncrypted)};
    bytes += record.content.size();
    if (bytes > maxBytes && !records.empty()) break;
    records.push_back(std::move(record));
  }
  if (step == KLSQLiteStatement::Step::Failed) file_.logFailure("Failed to read diagnosis records, error: ");
  return records;
}

bool KLDiagnosisDatabase::acknowledge(const std::vector<std::int64_t>& ids) {
  if (!prepare()) return false;
  KLSQLiteTransaction transaction(file_.connection());
  return transaction.isBegun() &&
         std::all_of(
             ids.begin(), ids.end(),
             [this](std::int64_t id) { return file_.write("UPDATE Journeys SET acknowledged = 1 WHERE id = ?", kTexts, id); }) &&
         transaction.commit();
}

}  // namespace kaleo
