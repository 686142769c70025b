#include "explain/JourneyRecords.h"

#include <fmt/format.h>

#include <set>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

constexpr double kMillisecondsPerSecond = 1000;

std::optional<KLValue> objectIn(const KLBytes& json) {
  auto value = KLJSON::parse(json);
  return value && value->isObject() ? value : std::nullopt;
}

const KLValue* memberOf(const JourneyRecord& record, std::string_view key) {
  const KLValue* const content = record.content.get();
  return content ? content->find(key) : nullptr;
}

/// Why a table with `columns` is none of the recorder; "" when it is.
std::string whyIncomplete(const std::set<std::string>& columns) {
  for (const char* name : {"id", "time", "project", "user_id", "distinct_id", "plan_id", "state", "content", "encryptedStatus"}) {
    if (!columns.contains(name)) return fmt::format("holds no records of decisions: its table Journeys has no column {}", name);
  }
  return {};
}

JourneyRecord recordIn(const KLSQLiteStatement& row, const KLAESCrypt* key) {
  const CellReader reader(key, row.integer(7) != 0);
  return {static_cast<double>(row.integer(0)) / kMillisecondsPerSecond,
          row.text(1).value_or(""),
          reader.id(row.text(2)),
          reader.id(row.text(3)),
          reader.id(row.text(4)),
          reader.id(row.text(8)),
          static_cast<KLDiagnosisState>(row.integer(5)),
          reader.blob<KLValue>(row.bytes(6), objectIn)};
}

}  // namespace

std::optional<double> JourneyRecord::seconds(std::string_view key) const {
  const KLValue* const value = memberOf(*this, key);
  if (!value || quillon_doubleValue(value) == 0) return std::nullopt;
  return quillon_doubleValue(value) / kMillisecondsPerSecond;
}

std::optional<std::int64_t> JourneyRecord::number(std::string_view key) const {
  const KLValue* const value = memberOf(*this, key);
  return value ? std::optional(quillon_integerValue(value)) : std::nullopt;
}

std::string JourneyRecord::text(std::string_view key) const { return quillon_stringValue(memberOf(*this, key)).value_or(""); }

JourneyRecords JourneyRecords::read(DatabaseCopy& database, const KLAESCrypt* key) {
  JourneyRecords found;
  found.faults.damage = database.damage();
  KLSQLiteStatement statement = database.connection().prepare(fmt::format(
      "SELECT time, project, user_id, distinct_id, plan_id, state, content, encryptedStatus, {} FROM Journeys ORDER BY id",
      database.columnsOf("Journeys").contains("event") ? "event" : "NULL"));
  for (;;) {
    const auto step = statement.step();
    if (step == KLSQLiteStatement::Step::Done) return found;
    if (step == KLSQLiteStatement::Step::Failed) break;
    JourneyRecord record = recordIn(statement, key);
    for (const StoredId* id : {&record.userId, &record.distinctId, &record.planId}) found.faults.lockedValues += id->isLocked;
    found.faults.lockedValues += record.content.state == Stored<KLValue>::State::Locked;
    found.faults.damagedValues += record.content.state == Stored<KLValue>::State::Damaged;
    found.records.push_back(std::move(record));
  }
  if (found.faults.damage.empty()) found.faults.damage = database.connection().errorMessage();
  return found;
}

std::string JourneyRecords::whyForeign(DatabaseCopy& database) {
  const auto tables = database.tables();
  if (tables.contains("Journeys")) return whyIncomplete(database.columnsOf("Journeys"));
  if (tables.contains("PlanWindows")) {
    return fmt::format(
        "is the library's own database; the decisions are in {}.sqlite beside it, if the application records them "
        "(kaleo inspect shows this one)",
        kQuillonDiagnosticDatabaseNameJourneys);
  }
  if (tables.empty() && !database.damage().empty()) return "is damaged: " + database.damage();
  return "is an SQLite database, but holds no records of decisions: it has no table Journeys";
}

}  // namespace kaleo::tools
