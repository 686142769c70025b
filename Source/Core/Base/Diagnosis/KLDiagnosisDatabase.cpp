#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"

#include <algorithm>
#include <utility>

#include "Core/Base/Diagnosis/KLDiagnosisSchema.h"
#include "Foundation/KLJSON.h"

namespace kaleo {
namespace {

constexpr auto& kTexts = KLDatabaseFile::kSpaced;
/// Contents that go into one transaction. More would make the file and its log grow before the oldest records make room.
constexpr std::size_t kBytesAtOnce = 1 << 20;
/// When there is too much, a sixteenth goes: not a few at each batch, nor so many that their pages fill the log.
constexpr std::int64_t kShare = 16;

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

std::size_t bytesOf(const KLKeptDiagnosisRecord& record) {
  return record.content.size() + record.project.size() + record.user.userId.size() + record.user.distinctId.size() +
         record.planId.size() + record.event.size();
}

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
  if (!file_.open()) return false;
  hasTables_ = hasTables_ || KLDiagnosisSchema(file_, encryptor_, random_).prepare();
  return hasTables_;
}

std::optional<std::string> KLDiagnosisDatabase::encrypted(const std::string& text) const {
  // "" has no encrypted form and says nothing.
  return encryptor_ && !text.empty() ? encryptor_->encryptString(text) : text;
}

std::string KLDiagnosisDatabase::decrypted(const std::optional<std::string>& text, bool isEncrypted) const {
  if (!text || !isEncrypted || text->empty()) return text.value_or("");
  return encryptor_ ? encryptor_->decryptString(*text).value_or("") : "";
}

std::size_t KLDiagnosisDatabase::append(std::span<const KLDiagnosisRecord> records, const std::string& project) {
  auto rest = records;
  while (!rest.empty()) {
    std::size_t count = appendSome(rest, project);
    // Damage that shows itself here makes room for a new file, which takes them.
    if (count == 0 && file_.isDamaged()) count = appendSome(rest, project);
    if (count == 0) break;
    rest = rest.subspan(count);
  }
  return records.size() - rest.size();
}

std::size_t KLDiagnosisDatabase::appendSome(std::span<const KLDiagnosisRecord> records, const std::string& project) {
  if (!prepare()) return 0;
  KLSQLiteTransaction transaction(file_.connection());
  std::size_t count = 0, bytes = 0;
  bool isWhole = transaction.isBegun();
  while (isWhole && count < records.size() && bytes < kBytesAtOnce) {
    const KLDiagnosisRecord& record = records[count++];
    const std::string content = contentOf(record);
    bytes += content.size();
    isWhole = appendRow(record, content, project);
  }
  if (isWhole && shrink() && transaction.commit()) return count;
  file_.logFailure("Failed to keep diagnosis records, error: ");
  return 0;
}

bool KLDiagnosisDatabase::appendRow(const KLDiagnosisRecord& record, const std::string& content, const std::string& project) {
  static const KLDiagnosisUser kNobody;
  const KLDiagnosisUser& user = record.user ? *record.user : kNobody;
  return file_.write(
      "INSERT INTO Journeys (time, project, user_id, distinct_id, plan_id, state, type, content, encryptedStatus, "
      "event, acknowledged) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
      kTexts, record.time, project, encrypted(user.userId), encrypted(user.distinctId), encrypted(record.planId),
      static_cast<int>(record.state), static_cast<int>(record.type), encrypted(content), encryptor_ ? 1 : 0,
      encrypted(record.event), isOutcome(record) ? 1 : 0);
}

bool KLDiagnosisDatabase::shrink() {
  if (!file_.write("DELETE FROM Journeys WHERE id <= (SELECT max(id) FROM Journeys) - ?", kTexts, kMaxRecords)) return false;
  for (;;) {
    const auto pages = file_.number("PRAGMA page_count"), free = file_.number("PRAGMA freelist_count"),
               size = file_.number("PRAGMA page_size");
    if (!pages || !free || !size) return false;
    if ((*pages - *free) * *size <= kMaxBytes) return true;
    if (!file_.write("DELETE FROM Journeys WHERE id <= (SELECT min(id) + (max(id) - min(id)) / ? FROM Journeys)", kTexts, kShare)) {
      return false;
    }
    if (file_.connection().changes() == 0) return true;  // what is too much is none of ours
  }
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
      "WHERE acknowledged = 0 AND +time >= ? AND +time <= ?";  // by id: an index on the time would have all of them sorted
  if (!condition.userIds.empty() || !condition.distinctIds.empty()) {
    sql += " AND (" + anyOf("user_id", condition.userIds);
    sql += " OR " + anyOf("distinct_id", condition.distinctIds) + ")";
  }
  if (!condition.planIds.empty()) sql += " AND (plan_id = '' OR " + anyOf("plan_id", condition.planIds) + ")";
  sql += " ORDER BY id";
  KLSQLiteStatement statement = file_.connection().prepare(sql);
  int place = 0;
  statement.bind(++place, condition.startTime);
  statement.bind(++place, condition.endTime);
  for (const std::string& text : texts) statement.bind(++place, text);
  std::size_t bytes = 0;
  auto step = KLSQLiteStatement::Step::Row;
  while (static_cast<std::int64_t>(records.size()) < most && (step = statement.step()) == KLSQLiteStatement::Step::Row) {
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
    if (record.content.empty()) continue;  // encrypted under a key that is not there any more
    bytes += bytesOf(record);
    if (bytes > maxBytes && !records.empty()) break;
    records.push_back(std::move(record));
  }
  if (step == KLSQLiteStatement::Step::Failed) file_.logFailure("Failed to read diagnosis records, error: ");
  return records;
}

bool KLDiagnosisDatabase::acknowledge(const std::vector<std::int64_t>& ids, const std::string& installation) {
  if (!prepare()) return false;
  KLSQLiteTransaction transaction(file_.connection());
  const auto mark = [&](std::int64_t id) {
    return file_.write("UPDATE Journeys SET acknowledged = 1 WHERE id = ? AND (SELECT id FROM Installation) = ?", kTexts, id,
                       installation);
  };
  return transaction.isBegun() && std::all_of(ids.begin(), ids.end(), mark) && transaction.commit();
}

}  // namespace kaleo
