#include "Core/Base/Manager/KLConfigurationInstaller.h"

#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"

namespace kaleo {

void KLConfigurationInstaller::setPopupConfig(const std::shared_ptr<const KLPopupConfig>& config, KLConfigOptions& options,
                                              const KLPresentationHooks& presentation) {
  if (quillon_compareVersion(config->minSdkVersionRequired.value_or(""), kKLSDKVersion) > 0) {
    around_.log.info("minSdkVersion larger than current SDK version");
    store_.deleteAllPlans();
    trigger_.removePlans();
    return;
  }
  if (config->fetchPlansInterval > 0) {
    options.setFetchPlansInterval(static_cast<double>(config->fetchPlansInterval / 1000));
  }
  savePopupConfig(config);
  if (!presentation.downloadImage) return;
  std::vector<std::string> images;
  if (options.preloadImage()) {
    around_.log.info("Start pre-download images for plans");
    images = imagesForPopupConfig(*config, around_.time.clock.now());
  }
  presentation.downloadImage(images);
}

void KLConfigurationInstaller::savePopupConfig(const std::shared_ptr<const KLPopupConfig>& config) {
  around_.log.info("save and compare with local popup config");
  const std::string distinctId = config->user ? config->user->distinctId.value_or("") : "";
  const std::string userId = config->userId.value_or(distinctId);
  around_.user.setUserId(userId);
  store_.saveUserId(userId, distinctId);
  recordFetch(*config, userId, distinctId);
  compareHistoryPlansWithConfig(config);
}

void KLConfigurationInstaller::recordFetch(const KLPopupConfig& config, const std::string& userId, const std::string& distinctId) {
  KLDiagnosis* const recorder = around_.diagnosis.get();
  if (!recorder) return;
  recorder->saveUserId(userId, distinctId);
  recorder->addContent(
      KLObject{{kQuillonDiagnosticInfoKeyMessage, "fetched campaign config"}, {"config", config.originalConfig().value_or("")}},
      KLDiagnosisState::ConfigFetched, KLDiagnosisType::Config);
  recorder->flushWithCondition(config.diagnosticCondition ? &*config.diagnosticCondition : nullptr);
}

std::shared_ptr<KLPopupConfig> KLConfigurationInstaller::loadStoredPlans() {
  const std::string userId = around_.user.userId();
  auto config = store_.popupConfigWithUserId(userId);
  if (config && !config->user) {
    config->setUser({around_.bridge.distinctId(), around_.bridge.loginId(), around_.bridge.anonymousId()});
    store_.savePopupConfig(config, userId);
  }
  return config;
}

std::shared_ptr<KLPopupConfig> KLConfigurationInstaller::adoptConfigOfDistinctId(const KLPopupConfig& config) {
  if (!config.userId || !config.user || !config.user->distinctId) return nullptr;
  const std::string& distinctId = *config.user->distinctId;
  auto stored = store_.popupConfigWithUserId(distinctId);
  store_.correctUserId(*config.userId, distinctId, KLDatabaseTable::PopupConfig);
  store_.correctUserId(*config.userId, distinctId, KLDatabaseTable::PlanWindows);
  return stored;
}

void KLConfigurationInstaller::compareHistoryPlansWithConfig(const std::shared_ptr<const KLPopupConfig>& config) {
  auto stored = loadStoredPlans();
  if (!stored) stored = adoptConfigOfDistinctId(*config);
  if (stored) {
    const KLPlanWindowResets resets = planWindowResets(*config, *stored);
    updatePlanWindows(resets.removed, *stored);
    updatePlanWindows(resets.changed, *config);
  }
  install(config);
}

void KLConfigurationInstaller::updatePlanWindows(const KLPlanWindowResets::ByPlan& resets, const KLPopupConfig& config) {
  for (const auto& model : config.popupPlanModels) {
    const auto names = resets.find(model->planKey());
    if (names == resets.end()) continue;
    KLPopupPlan(model, planSurroundings_).updatePlanWindows(names->second);
  }
}

void KLConfigurationInstaller::install(const std::shared_ptr<const KLPopupConfig>& config) {
  trigger_.setPopupConfig(config);
  store_.savePopupConfig(config, around_.user.userId());
}

}  // namespace kaleo
