#pragma once

#include <memory>

#include "Core/Base/Manager/KLConfigurationInstaller.h"
#include "Core/Base/Trigger/KLTrigger.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Support/CoreParts.h"

namespace kaleo::fuzz {

/// The way of configurations and events in virtual time, over a real store in temporary files. Every popup stands
/// for a second. Made anew for each input, so that no input depends on those before it.
class PlanStage : private testing::CoreParts {
 public:
  /// The configuration of a server's answer.
  std::shared_ptr<KLPopupConfig> parse(const KLValue& answer) const { return KLPopupConfig::fromResponseData(&answer, log); }
  /// Puts a configuration into force as one that was fetched, and lets its work end.
  void install(const std::shared_ptr<const KLPopupConfig>& config);
  /// Gives a configuration to the trigger as it is, which costs less.
  void use(const std::shared_ptr<const KLPopupConfig>& config);
  /// Runs one event record through the plans, some time after the one before, until its popup is gone.
  void track(const KLValue& record);
  /// The first so many names of events that plans listen to.
  std::vector<std::string> neededEvents(std::size_t most);

 private:
  static constexpr double kOnScreenSeconds = 1;
  static constexpr double kSecondsBetweenEvents = 3'700;

  KLShowCampaign show();
  KLManagerSurroundings managerSurroundings();

  struct NoReachability final : KLReachabilitySource {
    void start(Changed) override {}
    void stop() override {}
  };

  NoReachability reachability_;
  KLConfigOptions options_{"http://server", host.registry};
  KaleoDataStore store_{storeSurroundings()};
  std::shared_ptr<KLQueue> queue_ = threads.makeSerialQueue("TriggerQueue");
  KLTrigger trigger_{{threads, queue_, notifications, bridge, hostStore, log, store_, diagnosis, time, user, random, network,
                      [] { return "http://server"; }, [this] { return show(); }}};
  KLManagerSurroundings managerSurroundings_ = managerSurroundings();
  KLConfigurationInstaller installer_{managerSurroundings_, store_, trigger_};
};

}  // namespace kaleo::fuzz
