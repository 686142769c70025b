#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include "Core/Window/KLPlanManager.h"
#include "Support/StoreParts.h"
#include "Workload.h"

// The store: windows saved until they are durable, all windows of a user loaded, and a start with stored plans. All on one thread,
// the store's own turns too, so that processor time tells all but the waiting for a disk.

namespace kaleo::bench {
namespace {

using Name = KLDatabaseProperName;

constexpr const char* kUser = "server-user-0001";
constexpr std::size_t kSavedPlans = 1000;
constexpr std::size_t kBatch = 100;

std::string planOf(std::size_t index) { return std::to_string(index); }

template <class Window>
Window started(const KLPlanTime& time) {
  Window window;
  window.timeModel = KLPlanTimeModel("DAY", false, 1);
  window.startWindow(time);
  return window;
}

/// The archives of a plan's four windows, 110 to 140 bytes each.
std::array<KLBytes, 4> windowData(const KLPlanTime& time) {
  auto convert = started<KLPopupConvertWindow>(time);
  convert.uuid = "8c1f6f4e-5d0b-4c51-9a3e-0f6a5b1d2c3e";
  return {KLArchivedTriggerWindows({{0, started<KLPopupTriggerWindow>(time)}}), convert.archivedData(),
          started<KLPopupReEnterWindow>(time).archivedData(), started<KLPopupIntervalWindow>(time).archivedData()};
}

/// A store with the four windows of `plans` plans, and what it stands on.
class Stored : private testing::StoreParts {
 public:
  Stored(std::size_t plans, bool encrypted) {
    host.registry.registerNBLog(nullptr);  // the store alone
    host.registry.registerNimbraSDK(nullptr);
    if (encrypted) usePlugin();
    open();
    for (std::size_t i = 0; i < plans; ++i) {
      for (std::size_t kind = 0; kind < 4; ++kind) store_->saveWindowData(data_[kind], static_cast<Name>(kind), kUser, planOf(i));
    }
    store_->saveUserId(kUser, "d");
    if (!store_->flush()) throw std::runtime_error("the store cannot be written");
    if (encrypted) store_->setSchemaVersion(2);
  }

  void open() {
    store_.reset();
    store_ = std::make_unique<KaleoDataStore>(storeSurroundings());
  }

  KaleoDataStore& store() { return *store_; }
  const KLBytes& data() const { return data_.front(); }
  const std::filesystem::path& databaseFile() const { return file; }
  std::shared_ptr<KLPopupConfig> parse(const KLValue& answer) const { return KLPopupConfig::fromResponseData(&answer, log); }
  KLPopupPlanSurroundings planSurroundings() { return {log, *store_, diagnosis, hostStore, time_, user_}; }
  KLCurrentUser& user() { return user_; }

 private:
  KLCalendar monday_{"UTC", KLWeekday::Monday};
  KLCalendar sunday_{"UTC", KLWeekday::Sunday};
  KLPlanTime time_{clock, monday_, sunday_};
  KLCurrentUser user_;
  const std::array<KLBytes, 4> data_ = windowData(time_);
  std::unique_ptr<KaleoDataStore> store_;
};

/// SQLite alone on a file that a plain store has made, with the store's settings.
class Raw {
 public:
  explicit Raw(std::size_t plans) : stored_(plans, false) {
    run(sqlite3_open(stored_.databaseFile().c_str(), &handle_));
    run("PRAGMA synchronous=EXTRA");
    run("PRAGMA journal_mode=WAL");
    prepare("UPDATE PlanWindows SET trigger_windows = ?, update_time = ? WHERE user_id = ? AND plan_id = ? AND project = ?",
            update_);
    prepare(
        "SELECT plan_id, trigger_windows, convert_window, reEnter_window, interval_window, update_time FROM PlanWindows "
        "WHERE user_id = ? AND project = ? ORDER BY rowid",
        select_);
  }
  ~Raw() {
    sqlite3_finalize(update_);
    sqlite3_finalize(select_);
    sqlite3_close(handle_);
  }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;

  void run(const char* sql) { run(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr)); }

  void update(std::size_t plan) {
    const std::string id = planOf(plan);
    const KLBytes& data = stored_.data();
    sqlite3_bind_blob(update_, 1, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
    sqlite3_bind_double(update_, 2, 1.7e9);
    sqlite3_bind_text(update_, 3, kUser, -1, SQLITE_STATIC);
    sqlite3_bind_text(update_, 4, id.c_str(), static_cast<int>(id.size()), SQLITE_STATIC);
    sqlite3_bind_text(update_, 5, "default", -1, SQLITE_STATIC);
    if (sqlite3_step(update_) != SQLITE_DONE || sqlite3_changes(handle_) != 1) throw std::runtime_error("nothing updated");
    sqlite3_reset(update_);
  }

  /// Reads every column of every row; answers the bytes.
  std::size_t select() {
    sqlite3_bind_text(select_, 1, kUser, -1, SQLITE_STATIC);
    sqlite3_bind_text(select_, 2, "default", -1, SQLITE_STATIC);
    std::size_t bytes = 0;
    while (sqlite3_step(select_) == SQLITE_ROW) {
      for (int column = 0; column < 5; ++column) {
        benchmark::DoNotOptimize(sqlite3_column_blob(select_, column));
        bytes += static_cast<std::size_t>(sqlite3_column_bytes(select_, column));
      }
    }
    sqlite3_reset(select_);
    return bytes;
  }

 private:
  static void run(int code) {
    if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errstr(code));
  }
  void prepare(const char* sql, sqlite3_stmt*& statement) { run(sqlite3_prepare_v2(handle_, sql, -1, &statement, nullptr)); }

  Stored stored_;
  sqlite3* handle_ = nullptr;
  sqlite3_stmt* update_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
};

void rawUpdates(benchmark::State& state) {
  Raw raw(kSavedPlans);
  const auto batch = static_cast<std::size_t>(state.range(0));
  std::size_t plan = 0;
  for (auto _ : state) {
    raw.run("BEGIN IMMEDIATE");
    for (std::size_t i = 0; i < batch; ++i) raw.update(plan++ % kSavedPlans);
    raw.run("COMMIT");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * batch));
}

void storeSaves(benchmark::State& state, bool encrypted) {
  Stored stored(kSavedPlans, encrypted);
  const auto batch = static_cast<std::size_t>(state.range(0));
  std::size_t plan = 0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < batch; ++i) {
      stored.store().saveWindowData(stored.data(), Name::TriggerWindows, kUser, planOf(plan++ % kSavedPlans));
    }
    if (!stored.store().flush()) return state.SkipWithError("a write was dropped");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * batch));
}

void rawSelect(benchmark::State& state) {
  Raw raw(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    if (raw.select() == 0) return state.SkipWithError("no rows");
  }
}

void storeLoads(benchmark::State& state, bool encrypted) {
  const auto plans = static_cast<std::size_t>(state.range(0));
  Stored stored(plans, encrypted);
  for (auto _ : state) {
    const auto windows = stored.store().planWindowsWithUserId(kUser);
    if (windows.size() != plans) return state.SkipWithError("windows are missing");
  }
}

/// From nothing to plans with their windows: file and key opened, the user found, configuration and windows read.
void coldStart(benchmark::State& state, bool encrypted) {
  constexpr std::size_t plans = 1000;
  Stored stored(plans, encrypted);
  stored.store().savePopupConfig(stored.parse(answer(plans)), std::string(kUser));
  for (auto _ : state) {
    stored.open();
    stored.store().migrate();
    stored.user().setUserId(stored.store().userIdWithDistinctId("d").value_or(""));
    KLPlanManager manager(stored.planSurroundings());
    manager.setPopupConfig(stored.store().popupConfigWithUserId(stored.user().userId()));
    if (manager.sortedPlans().size() != plans) return state.SkipWithError("plans are missing");
  }
}

}  // namespace

BENCHMARK(rawUpdates)->Name("raw/update")->Arg(1)->Arg(kBatch)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(storeSaves, plain, false)->Name("store/save/plain")->Arg(1)->Arg(kBatch)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(storeSaves, encrypted, true)->Name("store/save/encrypted")->Arg(1)->Arg(kBatch)->Unit(benchmark::kMicrosecond);
BENCHMARK(rawSelect)->Name("raw/select")->Arg(1000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(storeLoads, plain, false)->Name("store/load/plain")->Arg(1000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(storeLoads, encrypted, true)->Name("store/load/encrypted")->Arg(1000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(coldStart, plain, false)->Name("store/start/plain")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(coldStart, encrypted, true)->Name("store/start/encrypted")->Unit(benchmark::kMicrosecond);

}  // namespace kaleo::bench
