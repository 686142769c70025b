#include "Core/Base/Manager/KLManager.h"
#include "Core/Base/Support/KLGuardedDiagnosis.h"
#include "Core/DataStore/Migration/KLDataMigrateHelper.h"
#include "Core/Nimbra/KLEventTracker.h"

namespace kaleo {
namespace {

constexpr const char* kUserDefaultsFileName = "org.kaleo.UserDefaults";

}  // namespace

void KLManager::startWithConfigOptions(std::shared_ptr<KLConfigOptions> options) {
  {
    std::lock_guard lock(mutex_);
    options_ = std::move(options);  // at once: a deep link that has launched the application is opened right after this call
  }
  changePlans(nullptr, [](KLManager& self) {
    KLSwizzler::swizzle(self.around_.host);
    self.runStartSequence();
  });
}

void KLManager::runStartSequence() {
  if (around_.makePresentation) {
    auto hooks = around_.makePresentation();
    std::lock_guard lock(mutex_);
    presentation_ = std::move(hooks);
  }
  try {
    setUpDiagnosis();
  } catch (...) {  // such as for want of threads; popups show without it
    around_.log.error("the recorder of decisions could not be made");
  }
  setUpStore();
  loadHistoryPopupConfig();
  store_->deleteExpiredData();
  waitForFirstConfiguration();
  hasCompleteInit_ = !stopped_;
}

void KLManager::setUpDiagnosis() {
  auto recorder = around_.makeDiagnosis ? around_.makeDiagnosis() : nullptr;
  if (!recorder) return;
  recorder = std::make_shared<KLGuardedDiagnosis>(std::move(recorder));
  recorder->setDiagnosisExpiration(options()->diagnosisExpiration());
  recorder->addDiagnostor();
  around_.diagnosis.set(std::move(recorder));
}

void KLManager::setUpStore() {
  const KLDirectories& directories = around_.directories;
  store_ = std::make_unique<KaleoDataStore>(KLDataStoreSurroundings{
      around_.threading, around_.log, around_.time.clock, around_.random, around_.bridge, around_.hostStore, around_.diagnosis,
      directories.documents.empty() ? directories.documents : directories.documents / KaleoDataStore::kDatabaseFileName,
      directories.library / KaleoDataStore::kKeyFileName});
  KLUserDefaults defaults(directories.library / kUserDefaultsFileName);
  KLDataMigrateHelper({around_.log, *store_, around_.hostStore, around_.bridge, around_.diagnosis, around_.time, around_.user,
                       defaults, directories.documents})
      .migrate();
  const auto distinctId = around_.bridge.distinctId();
  around_.user.setUserId(distinctId ? store_->userIdWithDistinctId(*distinctId).value_or("") : "");
  ownedTrigger_ = std::make_unique<KLTrigger>(
      KLTriggerSurroundings{around_.threading, triggerQueue_, around_.notificationCenter, around_.bridge, around_.hostStore,
                            around_.log, *store_, around_.diagnosis, around_.time, around_.user, around_.random, around_.network,
                            [weak = weak_from_this()] {
                              const auto self = weak.lock();
                              const auto opts = self ? self->options() : nullptr;
                              return opts ? opts->apiBaseURL() : std::string();
                            },
                            [weak = weak_from_this()] {
                              const auto self = weak.lock();
                              return self ? self->presentation().showCampaign : KLShowCampaign();
                            },
                            around_.console});
  trigger_ = ownedTrigger_.get();
  if (stopped_) ownedTrigger_->stop();
  installer_ = std::make_unique<KLConfigurationInstaller>(around_, *store_, *ownedTrigger_);
}

void KLManager::loadHistoryPopupConfig() {
  around_.log.info("Start to load local popup config and set it to trigger");
  ownedTrigger_->setPopupConfig(installer_->loadStoredPlans());
}

void KLManager::waitForFirstConfiguration() {
  {
    std::lock_guard lock(mutex_);
    waitingForStart_ = true;
  }
  reachabilityManager_.setNetworkStatusChanged([weak = weak_from_this()](KLReachability status) {
    const auto self = weak.lock();
    if (!self || self->stopped_ || status == KLReachability::NotReachable) return;
    self->fetch([weak](FetchResult result) {
      if (const auto manager = weak.lock()) manager->takeStartResult(std::move(result));
    });
  });
  reachabilityManager_.startMonitoring(KLIsLoopbackURL(options()->apiBaseURL()));
  firstAnswer_->wait(kStartTimeout);
  std::vector<FetchResult> results;
  {
    std::lock_guard lock(mutex_);
    waitingForStart_ = false;
    results.swap(startResults_);
  }
  for (const FetchResult& result : results) {
    if (!stopped_) applyFetched(result);
  }
  reachabilityManager_.stopMonitoring();
}

void KLManager::takeStartResult(FetchResult result) {
  {
    std::lock_guard lock(mutex_);
    if (waitingForStart_) {
      startResults_.push_back(std::move(result));
      firstAnswer_->raise();
      return;
    }
  }
  auto needed = neededEvents(result);
  changePlans(std::move(needed), [result = std::move(result)](KLManager& self) { self.applyFetched(result); });
}

}  // namespace kaleo
