#include "Core/Base/Diagnosis/KLDiagnosisSchema.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace kaleo {
namespace {

constexpr const char* kTables =
    "CREATE TABLE IF NOT EXISTS Journeys (id INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, project TEXT, user_id TEXT, "
    "distinct_id TEXT, plan_id TEXT, state INTEGER NOT NULL, type INTEGER NOT NULL, content TEXT, encryptedStatus INTEGER NOT "
    "NULL, "
    "acknowledged INTEGER NOT NULL DEFAULT 0, event TEXT);"
    "CREATE INDEX IF NOT EXISTS index_time ON Journeys (time);"
    "CREATE INDEX IF NOT EXISTS index_unacknowledged ON Journeys (id) WHERE acknowledged = 0;"
    "CREATE TABLE IF NOT EXISTS Users (distinct_id TEXT PRIMARY KEY, user_id TEXT);"
    "CREATE TABLE IF NOT EXISTS JourneyIds (user_id TEXT, plan_id TEXT, journey_id TEXT, PRIMARY KEY (user_id, plan_id));"
    "CREATE TABLE IF NOT EXISTS Installation (id TEXT);";

constexpr int kPlainVersion = 2;
constexpr int kEncryptedVersion = 3;
constexpr auto& kTexts = KLDatabaseFile::kSpaced;
/// Plain rows that are read before they are written back: a content may have a megabyte.
constexpr int kRowsAtOnce = 32;

struct PlainRow {
  std::int64_t id;
  std::array<std::optional<std::string>, 5> texts;  ///< user_id, distinct_id, plan_id, content, event
};

}  // namespace

bool KLDiagnosisSchema::prepare() {
  KLSQLiteTransaction transaction(file_.connection());
  if (!transaction.isBegun() || !build() || !transaction.commit()) {
    file_.logFailure("Failed to make the tables of the diagnosis, error: ");
    return false;
  }
  // The plain rows are in the file for as long as what replaced them is in the log alone.
  if (hasEncrypted_) file_.connection().execute("PRAGMA wal_checkpoint(TRUNCATE)");
  return true;
}

bool KLDiagnosisSchema::build() {
  if (!file_.connection().execute(kTables) || !addEventColumn() || !makeInstallation()) return false;
  const auto version = file_.number("PRAGMA user_version");
  if (!version) return false;
  hasEncrypted_ = encryptor_ && *version < kEncryptedVersion;
  if (hasEncrypted_ && !encryptPlainRows()) return false;
  const int wanted = encryptor_ ? kEncryptedVersion : kPlainVersion;
  // A later version's is left to it.
  return *version > kEncryptedVersion || *version == wanted || setVersion(wanted);
}

bool KLDiagnosisSchema::setVersion(int version) {
  return file_.connection().execute(fmt::format("PRAGMA user_version = {}", version));
}

bool KLDiagnosisSchema::addEventColumn() {
  const auto columns = file_.number("SELECT count(*) FROM pragma_table_info('Journeys') WHERE name = 'event'");
  return columns && (*columns > 0 || file_.connection().execute("ALTER TABLE Journeys ADD COLUMN event TEXT"));
}

bool KLDiagnosisSchema::makeInstallation() {
  return file_.write("INSERT INTO Installation (id) SELECT ? WHERE NOT EXISTS (SELECT 1 FROM Installation)", kTexts,
                     random_.uuid());
}

bool KLDiagnosisSchema::encryptPlainRows() {
  // Which rows of the other tables are plain cannot be told; they fill again with the next configuration.
  if (!file_.connection().execute("PRAGMA secure_delete = ON; DELETE FROM Users; DELETE FROM JourneyIds")) return false;
  std::vector<PlainRow> rows;
  const auto take = [&](const KLSQLiteStatement& row) {
    PlainRow& plain = rows.emplace_back(PlainRow{row.integer(0), {}});
    for (std::size_t i = 0; i < plain.texts.size(); ++i) {
      plain.texts[i] = row.text(static_cast<int>(i) + 1);
      // "" has no encrypted form and says nothing.
      if (plain.texts[i] && !plain.texts[i]->empty()) plain.texts[i] = encryptor_->encryptString(*plain.texts[i]);
    }
    return true;
  };
  const auto writeBack = [&](const PlainRow& row) {
    const auto& [userId, distinctId, planId, content, event] = row.texts;
    return file_.write(
        "UPDATE Journeys SET user_id = ?, distinct_id = ?, plan_id = ?, content = ?, event = ?, encryptedStatus = 1 WHERE id = ?",
        kTexts, userId, distinctId, planId, content, event, row.id);
  };
  for (std::int64_t last = -1;; last = rows.back().id) {
    rows.clear();
    const bool isRead = file_.read(
        "SELECT id, user_id, distinct_id, plan_id, content, event FROM Journeys WHERE encryptedStatus = 0 AND id > ? "
        "ORDER BY id LIMIT ?",
        kTexts, take, last, kRowsAtOnce);
    if (!isRead || !std::all_of(rows.begin(), rows.end(), writeBack)) return false;
    if (rows.empty()) return true;
  }
}

}  // namespace kaleo
