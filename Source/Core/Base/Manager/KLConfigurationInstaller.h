#pragma once

#include <memory>

#include "Core/Base/Manager/KLManagerSurroundings.h"
#include "Core/Base/Manager/KLPopupConfigComparison.h"
#include "Core/Base/Trigger/KLTrigger.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Model/KLPopupConfig.h"
#include "kaleo/KLConfigOptions.h"

namespace kaleo {

/// Puts a configuration into force: checks that this version may use it, compares it with the stored one, resets the windows that
/// the server resets, stores it, and gives it to the trigger. Threads: the trigger queue.
class KLConfigurationInstaller {
 public:
  KLConfigurationInstaller(const KLManagerSurroundings& surroundings, KaleoDataStore& store, KLTrigger& trigger)
      : around_(surroundings), store_(store), trigger_(trigger), planSurroundings_{around_.log,       store_,
                                                                                   around_.diagnosis, around_.hostStore,
                                                                                   around_.time,      around_.user} {}

  /// A configuration fresh from the server. One that requires a newer version clears all plans, in memory and in the store.
  void setPopupConfig(const std::shared_ptr<const KLPopupConfig>& config, KLConfigOptions& options,
                      const KLPresentationHooks& presentation);
  /// The stored configuration of the present user; null when there is none. One without a user gets the host's present user.
  std::shared_ptr<KLPopupConfig> loadStoredPlans();

 private:
  void savePopupConfig(const std::shared_ptr<const KLPopupConfig>& config);
  void recordFetch(const KLPopupConfig& config, const std::string& userId, const std::string& distinctId);
  void compareHistoryPlansWithConfig(const std::shared_ptr<const KLPopupConfig>& config);
  /// What was stored for the configuration's user before the server had given a user id; the records move to that id.
  std::shared_ptr<KLPopupConfig> adoptConfigOfDistinctId(const KLPopupConfig& config);
  void updatePlanWindows(const KLPlanWindowResets::ByPlan& resets, const KLPopupConfig& config);
  void install(const std::shared_ptr<const KLPopupConfig>& config);

  const KLManagerSurroundings& around_;
  KaleoDataStore& store_;
  KLTrigger& trigger_;
  const KLPopupPlanSurroundings planSurroundings_;
};

}  // namespace kaleo
