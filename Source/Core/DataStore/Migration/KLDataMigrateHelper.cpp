#include "Core/DataStore/Migration/KLDataMigrateHelper.h"

#include <optional>
#include <utility>

#include "Core/DataStore/KaleoDatabase.h"
#include "Core/Model/KLPlanWindows.h"
#include "Core/Window/KLPlanManager.h"
#include "Foundation/KLFile.h"

namespace kaleo {

void KLDataMigrateHelper::migrate() const {
  if (around_.hostStore.boolForKey(kKLDataMigrateKey)) return around_.dataStore.migrate();
  const auto distinctId = around_.bridge.distinctId();
  if (around_.documents.empty() || !distinctId) return;

  // Until the server gives a user id, the distinct id is its own. A host whose store forgets comes here at each start.
  if (!around_.dataStore.userIdWithDistinctId(*distinctId)) around_.dataStore.saveUserId(*distinctId, *distinctId);
  const auto config = loadPopupConfig(around_.documents);
  around_.dataStore.savePopupConfig(config, distinctId);
  moveGlobalWindow(kGlobalIntervalWindowKey, *distinctId, KLDatabaseProperName::GlobalInterval);
  moveGlobalWindow(kGlobalLimitKey, *distinctId, KLDatabaseProperName::GlobalLimit);
  KLPlanManager plans({around_.log, around_.dataStore, around_.diagnosis, around_.hostStore, around_.time, around_.currentUser});
  plans.setPopupConfig(config);
  for (const auto& plan : plans.sortedPlans()) movePlan(*plan, *distinctId);
  around_.hostStore.setBool(true, kKLDataMigrateKey);
  // All of this was written encrypted already: nothing is left to upgrade.
  if (around_.dataStore.enableEncrypt()) around_.dataStore.setSchemaVersion(KaleoDatabase::kEncryptedSchemaVersion);
}

std::shared_ptr<KLPopupConfig> KLDataMigrateHelper::loadPopupConfig(const std::filesystem::path& documents) {
  const auto archive = KLFile::read(documents / kPopupPlansFileName);
  return archive ? KLPopupConfig::fromArchivedData(*archive) : nullptr;
}

void KLDataMigrateHelper::moveGlobalWindow(const char* key, const std::string& userId, KLDatabaseProperName name) const {
  if (auto data = around_.userDefaults.dataForKey(key)) around_.dataStore.saveGlobalWindowData(std::move(data), userId, name);
}

void KLDataMigrateHelper::movePlan(const KLPopupPlan& plan, const std::string& userId) const {
  movePlanWindow(kConvertWindowKey, plan, userId, KLDatabaseProperName::ConvertWindow);
  movePlanWindow(kReEnterKey, plan, userId, KLDatabaseProperName::ReEnterWindow);
  movePlanWindow(kIntervalWindowKey, plan, userId, KLDatabaseProperName::IntervalWindow);
  moveTriggerWindows(plan, userId);
}

void KLDataMigrateHelper::movePlanWindow(const char* key, const KLPopupPlan& plan, const std::string& userId,
                                         KLDatabaseProperName name) const {
  if (auto data = around_.userDefaults.dataForKey(key + plan.planId())) {
    around_.dataStore.saveWindowData(std::move(data), name, userId, plan.planId());
  }
}

void KLDataMigrateHelper::moveTriggerWindows(const KLPopupPlan& plan, const std::string& userId) const {
  KLTriggerWindows windows;
  for (std::size_t i = 0; i < plan.planModel().patternPopup.matcherList.size(); ++i) {
    const auto data = around_.userDefaults.dataForKey(fmt::format("{}{}_{}", kTriggerWindowKey, plan.planId(), i));
    if (const auto window = data ? KLPopupTriggerWindow::fromArchivedData(*data) : std::nullopt) windows.emplace(i, *window);
  }
  around_.dataStore.saveWindowData(KLArchivedTriggerWindows(windows), KLDatabaseProperName::TriggerWindows, userId, plan.planId());
}

}  // namespace kaleo
