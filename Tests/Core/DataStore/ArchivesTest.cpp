#include <cstdlib>

#include "Core/DataStore/Migration/KLDataMigrateHelper.h"
#include "Core/DataStore/StoreFixture.h"
#include "Core/Model/KLPlanWindows.h"
#include "Core/Utils/KLVersion.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLKeyedArchive.h"
#include "Support/SourceDirectory.h"

// What releases have left on disks must open for ever. Each folder of archives/ is named for a release and holds what that one
// wrote: an archive of each class, an encrypted database with its key, and the state of a first release (configuration and user
// defaults). No file of a folder is ever changed. A release that archives something new gets a folder of its own, which is written
// by
//
//   KALEO_WRITE_ARCHIVES=1 build/dev/bin/test_datastore --gtest_filter='ArchivesTest.*'

namespace kaleo::testing {
namespace {

namespace fs = std::filesystem;
using Name = KLDatabaseProperName;

const fs::path kArchives = sourceDirectory() / "Tests/Core/DataStore/archives";

constexpr const char* kAnswer = R"({
  "min_sdk_version_required": "0.7.0", "server_current_time": "1700000000000", "config_pull_interval_ms": 600000, "user_id": "u1",
  "msg_limit_global": {"is_in_use": true, "limits": [{"unit": "DAY", "natural": true, "value": 1, "limit": 3}]},
  "popup_interval_global": {"unit": "MINUTE", "natural": false, "value": 5},
  "popup_plans": [
    {"plan_id": 7, "is_audience": true, "is_control_group": false, "audience_id": 70, "status": "ACTIVE", "cname": "Früh 早",
     "absolute_priority": 2.5, "last_update_config_time": "1690000000000", "expire_at": "99999999999999",
     "re_enter": {"unit": "WEEK", "natural": true, "value": 1, "limit": 2}, "global_msg_limit_enabled": true,
     "popup_interval": {"unit": "HOUR", "natural": false, "value": 4}, "convert_window": {"unit": "DAY", "natural": false, "value": 3},
     "strategy_id": 71, "is_trigger": true, "section_id": 72,
     "popup_window_content": {"content": "{\"template\": []}", "uuid": "7-7"},
     "window_update": {"convert_window": "1690000000001"},
     "pattern_popup": {"relation": "OR", "matcher_list": [
       {"event_name": "Buy", "params": [2], "window": {"unit": "HOUR", "natural": false, "value": 1},
        "filter": {"relation": "AND", "conditions": [{"field": "event.Buy.price", "function": "greater", "params": [10]}]}},
       {"event_name": "Look", "params": [1], "window": {"unit": "DAY", "natural": true, "value": 1}}]},
     "display_time_config": {"is_repeat": true, "type": "DAY", "conditions": []}},
    {"plan_id": 8, "is_audience": true, "status": "ACTIVE", "expire_at": "99999999999999",
     "pattern_popup": {"matcher_list": [{"event_name": "Leave"}]}}
  ]
})";

constexpr double kStart = 1'700'000'000;

template <class Window>
Window window(const char* unit, bool natural, std::int64_t value) {
  Window made;
  made.startTime = kStart;
  made.endTime = kStart + 0.5;
  made.timeModel = KLPlanTimeModel(unit, natural, value);
  return made;
}

/// What lies in every folder.
struct Kept {
  Kept() {
    reEnter.limit = 2;
    reEnter.count = 1;
    trigger.count = 3;
    trigger.type = KLWindowType::Backward;
    convert.uuid = "7-7";
    result.distinctID = "d1";
    result.popupDisplayUUID = "7-7";
    result.displayTime = "1700000000000";
    const KLHostRegistry registry;
    const KLLog log(registry);
    const KLValue answer = *KLJSON::parse(std::string_view(kAnswer));
    config = KLPopupConfig::fromResponseData(&answer, log);
    config->setUser({"d1", "login", std::nullopt});
  }

  KLPopupReEnterWindow reEnter = window<KLPopupReEnterWindow>("WEEK", true, 1);
  KLPopupTriggerWindow trigger = window<KLPopupTriggerWindow>("HOUR", false, 1);
  KLTriggerWindows triggers = {{0, trigger}, {1, KLPopupTriggerWindow()}};
  KLPopupConvertWindow convert = window<KLPopupConvertWindow>("DAY", false, 3);
  KLPopupIntervalWindow interval = window<KLPopupIntervalWindow>("HOUR", false, 4);
  KLPopupGlobalIntervalWindow globalInterval = window<KLPopupGlobalIntervalWindow>("MINUTE", false, 5);
  KLPopupConvertResult result;
  KLValue displayTimes = KLValue::Array{kStart, kStart + 60.25};
  std::shared_ptr<KLPopupConfig> config;
};

class ArchivesTest : public StoreFixture {
 protected:
  ArchivesTest() { host.nimbra->setIdentity("d1"); }

  static std::vector<fs::path> releases() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(kArchives)) found.push_back(entry.path());
    return found;
  }

  template <class Object>
  static void expectOpens(const fs::path& file, const Object& kept) {
    EXPECT_EQ(Object::fromArchivedData(KLFile::read(file).value_or(KLBytes())), kept) << file;
  }

  void expectWindows(KaleoDataStore& store, const std::string& user) const {
    const auto windows = store.planWindowsWithUserId(user);
    ASSERT_TRUE(windows.contains("7"));
    const auto& [triggers, convert, reEnter, interval] = windows.at("7");
    EXPECT_EQ(KLTriggerWindowsFromArchivedData(triggers.value_or(KLBytes())), kept.triggers);
    EXPECT_EQ(KLPopupConvertWindow::fromArchivedData(convert.value_or(KLBytes())), kept.convert);
    EXPECT_EQ(KLPopupReEnterWindow::fromArchivedData(reEnter.value_or(KLBytes())), kept.reEnter);
    EXPECT_EQ(KLPopupIntervalWindow::fromArchivedData(interval.value_or(KLBytes())), kept.interval);
    const auto globalInterval = store.globalWindowWithUserId(user, Name::GlobalInterval);
    EXPECT_EQ(KLPopupGlobalIntervalWindow::fromArchivedData(globalInterval.value_or(KLBytes())), kept.globalInterval);
    const auto times = store.globalWindowWithUserId(user, Name::GlobalLimit);
    EXPECT_EQ(KLKeyedArchive::unarchive(times.value_or(KLBytes()), "KLPopupGlobalLimit"), kept.displayTimes);
    const auto config = store.popupConfigWithUserId(user);
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->encode(), kept.config->encode());
  }

  void writeFolder(const fs::path& folder) {
    const auto put = [&](const char* name, const KLBytes& data) { ASSERT_TRUE(KLFile::writeAtomically(folder / name, data)); };
    put("KLPopupReEnterWindow", kept.reEnter.archivedData());
    put("KLPopupTriggerWindow", kept.trigger.archivedData());
    put("KLTriggerWindows", KLArchivedTriggerWindows(kept.triggers));
    put("KLPopupConvertWindow", kept.convert.archivedData());
    put("KLPopupIntervalWindow", kept.interval.archivedData());
    put("KLPopupGlobalIntervalWindow", kept.globalInterval.archivedData());
    put("KLPopupGlobalLimit", KLKeyedArchive::archive("KLPopupGlobalLimit", kept.displayTimes));
    put("KLPopupConvertResult", kept.result.archivedData());
    put(kPopupPlansFileName, kept.config->archivedData());
    writeDefaults(folder / "UserDefaults");
    writeDatabase(folder);
  }

  void writeDefaults(const fs::path& to) const {
    KLUserDefaults defaults(to);
    defaults.setObject(kept.globalInterval.archivedData(), kGlobalIntervalWindowKey);
    defaults.setObject(KLKeyedArchive::archive("KLPopupGlobalLimit", kept.displayTimes), kGlobalLimitKey);
    defaults.setObject(kept.convert.archivedData(), "ConvertWindow_7");
    defaults.setObject(kept.reEnter.archivedData(), "ReEnter_7");
    defaults.setObject(kept.interval.archivedData(), "IntervalWindow_7");
    for (const auto& [index, trigger] : kept.triggers) {
      defaults.setObject(trigger.archivedData(), "TriggerWindow_7_" + std::to_string(index));
    }
    ASSERT_TRUE(defaults.synchronize());
  }

  void writeDatabase(const fs::path& folder) {
    usePlugin();
    const auto store = makeStore();
    store->saveUserId("u1", "d1");
    store->savePopupConfig(kept.config, "u1");
    store->saveGlobalWindowData(kept.globalInterval.archivedData(), "u1", Name::GlobalInterval);
    store->saveGlobalWindowData(KLKeyedArchive::archive("KLPopupGlobalLimit", kept.displayTimes), "u1", Name::GlobalLimit);
    store->saveWindowData(KLArchivedTriggerWindows(kept.triggers), Name::TriggerWindows, "u1", "7");
    store->saveWindowData(kept.convert.archivedData(), Name::ConvertWindow, "u1", "7");
    store->saveWindowData(kept.reEnter.archivedData(), Name::ReEnterWindow, "u1", "7");
    store->saveWindowData(kept.interval.archivedData(), Name::IntervalWindow, "u1", "7");
    store->setSchemaVersion(KaleoDatabase::kEncryptedSchemaVersion);
    SQLFile(file).run("VACUUM INTO '" + (folder / file.filename()).string() + "'");
    fs::copy_file(keyFile, folder / keyFile.filename());
  }

  const Kept kept;
};

TEST_F(ArchivesTest, EveryReleasesArchivesOpen) {
  const fs::path present = kArchives / kKLSDKVersion;
  if (std::getenv("KALEO_WRITE_ARCHIVES") && !fs::exists(present)) writeFolder(present);
  ASSERT_FALSE(releases().empty());
  for (const fs::path& release : releases()) {
    expectOpens(release / "KLPopupReEnterWindow", kept.reEnter);
    expectOpens(release / "KLPopupTriggerWindow", kept.trigger);
    expectOpens(release / "KLPopupConvertWindow", kept.convert);
    expectOpens(release / "KLPopupIntervalWindow", kept.interval);
    expectOpens(release / "KLPopupGlobalIntervalWindow", kept.globalInterval);
    expectOpens(release / "KLPopupConvertResult", kept.result);
    EXPECT_EQ(KLTriggerWindowsFromArchivedData(KLFile::read(release / "KLTriggerWindows").value_or(KLBytes())), kept.triggers);
  }
}

TEST_F(ArchivesTest, EveryReleasesDatabaseOpensWithItsKey) {
  usePlugin();
  for (const fs::path& release : releases()) {
    fs::copy_file(release / file.filename(), file, fs::copy_options::overwrite_existing);
    fs::copy_file(release / keyFile.filename(), keyFile, fs::copy_options::overwrite_existing);
    const auto store = makeStore();
    store->migrate();
    EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
    expectWindows(*store, "u1");
  }
}

class FirstReleaseTest : public ArchivesTest, public ::testing::WithParamInterface<bool> {
 protected:
  void start(const fs::path& release) {
    store = makeStore();
    KLDataMigrateHelper(
        {log, *store, hostStore, bridge, diagnosis, time, currentUser, KLUserDefaults(release / "UserDefaults"), directory.path()})
        .migrate();
    EXPECT_TRUE(store->flush());
  }

  KLCalendar monday{"UTC", KLWeekday::Monday};
  KLCalendar sunday{"UTC", KLWeekday::Sunday};
  KLPlanTime time{clock, monday, sunday};
  KLCurrentUser currentUser;
  std::unique_ptr<KaleoDataStore> store;
};

TEST_P(FirstReleaseTest, TheStateMovesOnceAndStays) {
  host.registry.registerNBStoreManager(std::make_shared<MemoryStore>(GetParam()));
  const fs::path release = kArchives / "0.7.3";
  fs::copy_file(release / kPopupPlansFileName, directory / kPopupPlansFileName);
  start(release);
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "d1");
  expectWindows(*store, "d1");
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{GetParam() ? "2" : "0"});
  EXPECT_EQ(rows("SELECT DISTINCT encryptedStatus FROM PlanWindows"), Rows{GetParam() ? "1" : "0"});

  store->saveUserId("u1", "d1");
  store->saveWindowData(bytes("newer"), Name::ConvertWindow, "d1", "7");
  store.reset();
  start(release);  // what has been written since is not overwritten
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
  EXPECT_EQ(store->planWindowWithUserId("d1", "7", Name::ConvertWindow), bytes("newer"));
  EXPECT_EQ(rows("SELECT count(*) FROM PlanWindows"), Rows{"2"});
}

INSTANTIATE_TEST_SUITE_P(PlainAndEncrypted, FirstReleaseTest, ::testing::Bool());

}  // namespace
}  // namespace kaleo::testing
