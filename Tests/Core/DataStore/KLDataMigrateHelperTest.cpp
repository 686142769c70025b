#include "Core/DataStore/Migration/KLDataMigrateHelper.h"

#include "Core/DataStore/StoreFixture.h"
#include "Core/Model/KLPlanWindows.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLJSON.h"

namespace kaleo::testing {
namespace {

using Name = KLDatabaseProperName;

constexpr const char* kConfiguration = R"({
  "config_pull_interval_ms": 600000,
  "popup_plans": [
    {"plan_id": 7, "is_audience": true, "status": "ACTIVE", "expire_at": "2000000000000",
     "pattern_popup": {"relation": "OR", "matcher_list": [{"event_name": "a"}, {"event_name": "b"}, {"event_name": "c"}]}},
    {"plan_id": 8, "is_audience": true, "status": "ACTIVE", "expire_at": "2000000000000"},
    {"plan_id": 9, "is_audience": true, "status": "CLOSED", "expire_at": "2000000000000"}
  ]
})";

class KLDataMigrateHelperTest : public StoreFixture {
 protected:
  KLDataMigrateHelperTest() { host.nimbra->setIdentity("d1"); }

  void writeOldConfiguration() {
    const KLValue data = *KLJSON::parse(std::string_view(kConfiguration));
    ASSERT_TRUE(
        KLFile::writeAtomically(documents / "KaleoPopupPlans", KLPopupConfig::fromResponseData(&data, log)->archivedData()));
  }

  static KLPopupTriggerWindow windowWithCount(std::int64_t count) {
    KLPopupTriggerWindow window;
    window.count = count;
    return window;
  }

  void openStore() {
    store.reset();
    store = makeStore();
  }

  void migrate(const std::filesystem::path& from) {
    KLDataMigrateHelper({log, *store, hostStore, bridge, diagnosis, time, currentUser, defaults, from}).migrate();
    store->flush();
  }

  const std::filesystem::path documents = directory.path();
  KLCalendar monday{"UTC", KLWeekday::Monday};
  KLCalendar sunday{"UTC", KLWeekday::Sunday};
  KLPlanTime time{clock, monday, sunday};
  KLCurrentUser currentUser;
  KLUserDefaults defaults{directory / "defaults"};
  std::unique_ptr<KaleoDataStore> store;
};

TEST_F(KLDataMigrateHelperTest, AFreshInstallationOnlyMapsItsUser) {
  openStore();
  migrate(documents);
  EXPECT_EQ(rows("SELECT distinct_id, user_id FROM Users"), Rows{"d1|d1"});
  EXPECT_EQ(rows("SELECT 1 FROM PopupConfig UNION ALL SELECT 1 FROM PlanWindows"), Rows{});
  EXPECT_TRUE(hostStore.boolForKey("kKLDataMigrateKey"));
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"0"});
  store->saveUserId("u1", "d1");
  migrate(documents);  // once
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
  host.store->removeObjectForKey("kKLDataMigrateKey");
  migrate(documents);
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1") << "a host that forgets must not cost the user what is stored";
}

TEST_F(KLDataMigrateHelperTest, OldStateMovesUnderTheDistinctId) {
  writeOldConfiguration();
  defaults.setObject(bytes("interval"), "GlobalIntervalWindowKey");
  defaults.setObject(bytes("limit"), "GlobalPopupLimit");
  defaults.setObject(bytes("convert 7"), "ConvertWindow_7");
  defaults.setObject(bytes("enter 8"), "ReEnter_8");
  defaults.setObject(bytes("interval 7"), "IntervalWindow_7");
  defaults.setObject("no bytes", "IntervalWindow_8");
  defaults.setObject(bytes("of a plan that may not run"), "ConvertWindow_9");
  defaults.setObject(windowWithCount(3).archivedData(), "TriggerWindow_7_0");
  defaults.setObject(bytes("no archive"), "TriggerWindow_7_1");
  defaults.setObject(windowWithCount(5).archivedData(), "TriggerWindow_7_2");
  defaults.setObject(windowWithCount(9).archivedData(), "TriggerWindow_7_3");  // there is no such matcher
  openStore();
  migrate(documents);

  ASSERT_NE(store->popupConfigWithUserId("d1"), nullptr);
  EXPECT_EQ(store->popupConfigWithUserId("d1")->popupPlanModels.size(), 3u);
  EXPECT_EQ(store->globalWindowWithUserId("d1", Name::GlobalInterval), bytes("interval"));
  EXPECT_EQ(store->globalWindowWithUserId("d1", Name::GlobalLimit), bytes("limit"));
  const auto windows = store->planWindowsWithUserId("d1");
  ASSERT_EQ(windows.size(), 2u);
  const auto& seven = windows.at("7");
  const auto& eight = windows.at("8");
  EXPECT_EQ(seven[1], bytes("convert 7"));
  EXPECT_EQ(seven[2], std::nullopt);
  EXPECT_EQ(seven[3], bytes("interval 7"));
  EXPECT_EQ(eight[2], bytes("enter 8"));
  EXPECT_EQ(eight[3], std::nullopt);
  const KLTriggerWindows regrouped = {{0, windowWithCount(3)}, {2, windowWithCount(5)}};
  EXPECT_EQ(KLTriggerWindowsFromArchivedData(seven[0].value_or(KLBytes())), regrouped);
  EXPECT_EQ(KLTriggerWindowsFromArchivedData(eight[0].value_or(KLBytes())), KLTriggerWindows());
  EXPECT_TRUE(KLFile::exists(documents / "KaleoPopupPlans"));
  EXPECT_EQ(defaults.dataForKey("ConvertWindow_7"), bytes("convert 7"));
}

TEST_F(KLDataMigrateHelperTest, LaterStartsUpgradeWhatIsPlain) {
  openStore();
  migrate(documents);
  auto encrypting = std::make_shared<MemoryStore>(true);
  encrypting->setObject(true, "kKLDataMigrateKey");
  host.registry.registerNBStoreManager(encrypting);
  openStore();
  EXPECT_EQ(store->userIdWithDistinctId("d1"), std::nullopt);
  migrate(documents);
  EXPECT_EQ(store->userIdWithDistinctId("d1"), "d1");
  EXPECT_EQ(rows("PRAGMA user_version"), Rows{"2"});
}

TEST_F(KLDataMigrateHelperTest, WithoutDirectoryOrUserTheMoveWaits) {
  openStore();
  migrate({});
  host.nimbra->setIdentity(std::nullopt);
  migrate(documents);
  EXPECT_FALSE(hostStore.boolForKey("kKLDataMigrateKey"));
  EXPECT_EQ(rows("SELECT * FROM Users"), Rows{});
}

TEST_F(KLDataMigrateHelperTest, ADamagedOldConfigurationIsNone) {
  EXPECT_EQ(KLDataMigrateHelper::loadPopupConfig(documents), nullptr);
  ASSERT_TRUE(KLFile::writeAtomically(documents / "KaleoPopupPlans", bytes("damaged")));
  EXPECT_EQ(KLDataMigrateHelper::loadPopupConfig(documents), nullptr);
  writeOldConfiguration();
  EXPECT_NE(KLDataMigrateHelper::loadPopupConfig(documents), nullptr);
}

}  // namespace
}  // namespace kaleo::testing
