#include "inspect/StoredState.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

constexpr const char* kUsers = "Users";
constexpr const char* kPopupConfig = "PopupConfig";
constexpr const char* kPlanWindows = "PlanWindows";

std::optional<std::vector<double>> displayTimes(const KLBytes& data) {
  const auto times = KLKeyedArchive::unarchive(data, KLPopupGlobalLimit::kClassName);
  if (!times || !times->isArray()) return std::nullopt;
  std::vector<double> instants;
  for (const KLValue& time : times->asArray()) instants.push_back(quillon_doubleValue(&time));
  return instants;
}

std::optional<std::shared_ptr<KLPopupConfig>> configuration(const KLBytes& data) {
  auto config = KLPopupConfig::fromArchivedData(data);
  return config ? std::optional(std::move(config)) : std::nullopt;
}

class Reader {
 public:
  Reader(DatabaseCopy& database, const KLAESCrypt* key) : database_(database), key_(key) {}

  StoredState read() {
    state_.schemaVersion = database_.userVersion();
    state_.faults.damage = database_.damage();
    // Each table's columns, then whether the row is encrypted, and its project; later releases added the last two.
    each(kUsers, {"distinct_id", "user_id", "update_time"}, [this](const auto& row) { takeName(row); });
    each(kPopupConfig, {"user_id", "popup_config", "global_limit", "global_interval", "update_time"},
         [this](const auto& row) { takeConfig(row); });
    each(kPlanWindows,
         {"user_id", "plan_id", "trigger_windows", "convert_window", "reEnter_window", "interval_window", "update_time"},
         [this](const auto& row) { takePlan(row); });
    for (auto& [key, user] : users_) state_.users.push_back(std::move(user));
    return std::move(state_);
  }

 private:
  /// A row with its cells taken apart.
  struct Row {
    const KLSQLiteStatement& cells;
    CellReader reader;
    std::string project;
  };

  void each(const char* table, const std::vector<std::string>& columns, const std::function<void(const Row&)>& take) {
    const auto present = database_.columnsOf(table);
    std::vector<std::string> selected = columns;
    selected.insert(selected.end(), {"encryptedStatus", "project"});
    for (std::string& column : selected) {
      if (!present.contains(column)) column = "NULL";
    }
    const int status = static_cast<int>(columns.size());
    // The first row of a key counts, as it does for the library.
    KLSQLiteStatement statement =
        database_.connection().prepare(fmt::format("SELECT {} FROM {} ORDER BY rowid", fmt::join(selected, ", "), table));
    for (;;) {
      const auto step = statement.step();
      if (step == KLSQLiteStatement::Step::Done) return;
      if (step == KLSQLiteStatement::Step::Failed) return noteFailure(table);
      const bool isEncrypted = statement.integer(status) != 0;
      state_.encryptedRows += isEncrypted;
      take({statement, CellReader(key_, isEncrypted), statement.text(status + 1).value_or("")});
    }
  }

  void noteFailure(const char* table) {
    if (!state_.faults.damage.empty()) state_.faults.damage += "; ";
    state_.faults.damage += fmt::format("table {}: {}", table, database_.connection().errorMessage());
  }

  void takeName(const Row& row) {
    const StoredId name = noted(row.reader.id(row.cells.text(0)));
    userOf(row, 1).names.push_back({name, row.cells.real(2)});
  }

  void takeConfig(const Row& row) {
    StoredUser& user = userOf(row, 0);
    if (user.changedAt != 0) return;
    user.config = blob<std::shared_ptr<KLPopupConfig>>(row, 1, configuration);
    user.displays = blob<std::vector<double>>(row, 2, displayTimes);
    user.globalInterval = blob<KLPopupGlobalIntervalWindow>(row, 3, KLPopupGlobalIntervalWindow::fromArchivedData);
    user.changedAt = row.cells.real(4);
  }

  void takePlan(const Row& row) {
    StoredPlan plan{noted(row.reader.id(row.cells.text(1)))};
    plan.triggers = blob<KLTriggerWindows>(row, 2, KLTriggerWindowsFromArchivedData);
    plan.convert = blob<KLPopupConvertWindow>(row, 3, KLPopupConvertWindow::fromArchivedData);
    plan.reEnter = blob<KLPopupReEnterWindow>(row, 4, KLPopupReEnterWindow::fromArchivedData);
    plan.interval = blob<KLPopupIntervalWindow>(row, 5, KLPopupIntervalWindow::fromArchivedData);
    plan.savedAt = row.cells.real(6);
    StoredUser& user = userOf(row, 0);
    if (std::ranges::find(user.plans, plan.id, &StoredPlan::id) == user.plans.end()) user.plans.push_back(std::move(plan));
  }

  StoredUser& userOf(const Row& row, int column) {
    StoredId id = noted(row.reader.id(row.cells.text(column)));
    StoredUser& user = users_[{row.project, id}];
    user.project = row.project;
    user.id = std::move(id);
    return user;
  }

  template <class Value, class Restore>
  Stored<Value> blob(const Row& row, int column, Restore&& restore) {
    auto value = row.reader.template blob<Value>(row.cells.bytes(column), restore);
    state_.faults.lockedValues += value.state == Stored<Value>::State::Locked;
    state_.faults.damagedValues += value.state == Stored<Value>::State::Damaged;
    return value;
  }

  StoredId noted(StoredId id) {
    state_.faults.lockedValues += id.isLocked;
    return id;
  }

  DatabaseCopy& database_;
  const KLAESCrypt* const key_;
  StoredState state_;
  std::map<std::pair<std::string, StoredId>, StoredUser> users_;  ///< by project and id
};

}  // namespace

bool StoredUser::isKnownAs(const std::string& name) const {
  const auto is = [&](const StoredId& known) { return !known.isLocked && known.text == name; };
  return is(id) || std::ranges::any_of(names, is, &StoredName::distinctId);
}

const StoredPlan* StoredUser::windowsOf(const KLPopupPlanModel& plan) const {
  const auto found = std::ranges::find(plans, StoredId{plan.planKey()}, &StoredPlan::id);
  return found == plans.end() ? nullptr : &*found;
}

const KLPopupPlanModel* StoredUser::modelOf(const StoredPlan& plan) const {
  if (!config.get() || plan.id.isLocked) return nullptr;
  const auto& models = (*config.get())->popupPlanModels;
  const auto found = std::ranges::find_if(models, [&](const auto& model) { return model->planKey() == plan.id.text; });
  return found == models.end() ? nullptr : found->get();
}

StoredState StoredState::read(DatabaseCopy& database, const KLAESCrypt* key) { return Reader(database, key).read(); }

std::string StoredState::whyForeign(DatabaseCopy& database) {
  const auto tables = database.tables();
  std::vector<std::string> missing, found;
  for (const char* table : {kUsers, kPopupConfig, kPlanWindows}) {
    if (!tables.contains(table)) missing.emplace_back(table);
  }
  if (missing.empty()) return {};
  if (tables.empty() && !database.damage().empty()) return fmt::format("is damaged: {}", database.damage());
  if (tables.contains("Journeys")) return "is the record of an application's decisions: kaleo explain tells what is in it";
  for (const std::string& table : tables) found.push_back(printable(table));
  return fmt::format("is an SQLite database, but none of this library: it has no table {}{}", fmt::join(missing, " and no table "),
                     found.empty() ? "" : fmt::format(" (it has {})", fmt::join(found, ", ")));
}

}  // namespace kaleo::tools
