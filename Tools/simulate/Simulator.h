#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Manager/KLManager.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Foundation/KLCalendar.h"
#include "Platform/Headless/KLVirtualThreading.h"
#include "simulate/PlanVerdicts.h"
#include "simulate/SimulatedHost.h"
#include "simulate/SimulatedRandom.h"
#include "simulate/SimulatedServer.h"
#include "simulate/SimulationStep.h"
#include "simulate/SimulationStore.h"

namespace kaleo::tools {

/// A window that a popup opened.
struct SimulatedWindow {
  std::string kind;           ///< for people
  double start = 0, end = 0;  ///< seconds since 1970
};

/// What came of a step.
struct SimulationResult {
  double at = 0;                              ///< when it was handled, seconds since 1970
  DecisionRecords records;                    ///< written meanwhile, in order
  std::vector<std::string> plans;             ///< of a configuration: the plan keys in serving order
  std::optional<std::string> event;           ///< of a tracked event: its name
  std::optional<std::string> shown;           ///< of a tracked event: the key of the plan whose popup was shown
  std::vector<PlanVerdict> verdicts = {};     ///< of a tracked event, when they were asked for
  std::vector<SimulatedWindow> windows = {};  ///< of a shown popup, when verdicts were asked for
};

/// A whole library in virtual time: the library's own manager, trigger, plans and store, between a host, a server and a
/// presentation that do as the stream says. Every popup shows and ends a given time after the trigger began to wait for it; nothing
/// else but a step's time moves the clock. Threads: one.
class Simulator {
 public:
  struct Options {
    std::string timeZone;        ///< IANA name; empty: the machine's
    double onScreenSeconds = 0;  ///< how long each popup shows
    bool wantsVerdicts = false;  ///< whether results carry verdicts and windows
  };

  /// Starts the library at the instant `now`. Lifetime: borrows the store.
  Simulator(const SimulationStore& store, Options options, double now);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  /// Handles a step, no earlier than the one before it ended.
  SimulationResult handle(const SimulationStep& step);
  /// Ends the library, after which nothing more can be handled, and writes its state. False: the host's part cannot be written.
  bool close();
  /// The configuration in force; not null.
  const KLPopupConfig& configuration() { return *manager_->trigger()->popupConfig(); }

 private:
  KLManagerSurroundings surroundings(const SimulationStore& store);
  void start();
  void show(const KLCampaign& campaign);
  void configure(const KLValue& answer, SimulationResult& result);
  void track(const KLValue& record, SimulationResult& result);
  /// The windows of the plan whose popup was shown at `at`, as they stand after it.
  std::vector<SimulatedWindow> windowsOf(const std::string& planKey, double at);
  void convert(const KLValue& conversion);
  void switchUser(const KLValue& user);

  /// The popup of a plan whose conversion is awaited, and who saw it.
  struct AwaitedConversion {
    std::string uuid, distinctId;
  };

  const Options options_;
  KLVirtualThreading threads_;
  KLVirtualThreading::Clock clock_{threads_};
  SimulatedHost host_;
  SimulatedRandom random_;
  SimulatedServer server_{threads_};
  KLNotificationCenter notifications_;
  KLLog log_{host_.registry()};
  NBBridge bridge_{host_.registry(), log_};
  KLStoreManager hostStore_{host_.registry()};
  KLDiagnosisSlot diagnosis_;
  DecisionRecords records_;  ///< since they were last taken
  KLCurrentUser user_;
  KLCalendar mondayCalendar_, sundayCalendar_;
  KLNetwork network_{server_, log_, random_};
  std::shared_ptr<KLConfigOptions> configOptions_;
  std::shared_ptr<KLManager> manager_;
  std::optional<std::string> shown_;                  ///< by the step under way
  std::map<std::string, AwaitedConversion> awaited_;  ///< the newest of each plan, by plan key
};

}  // namespace kaleo::tools
