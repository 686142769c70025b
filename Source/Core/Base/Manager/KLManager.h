#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Core/Base/Manager/KLConfigurationInstaller.h"
#include "Core/Base/Manager/KLManagerSurroundings.h"
#include "Core/Base/Network/KLNetworkReachability.h"
#include "Core/Base/Network/KLPopupConfigFetcher.h"
#include "Core/Base/Support/KLRepeatingTimer.h"
#include "Core/Base/Trigger/KLTrigger.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "kaleo/KLConfigOptions.h"
#include "kaleo/KLDelegates.h"

namespace kaleo {

/// Owns the running state of one library: the options, the trigger and its queue, the store, the refresh timer. Starts it, keeps
/// the configuration fresh, and turns the host's and the application's notifications into work on the trigger queue.
///
/// Threads: public members may be called from any thread; none waits for the trigger queue, the network or the disk, but the
/// destructor, which ends everything in order.
class KLManager : public std::enable_shared_from_this<KLManager> {
 public:
  /// How long the start waits for the first answer of the server, in seconds.
  static constexpr double kStartTimeout = 30;

  /// Listens to the host and the application from here on.
  static std::shared_ptr<KLManager> create(KLManagerSurroundings surroundings);
  ~KLManager();
  KLManager(const KLManager&) = delete;
  KLManager& operator=(const KLManager&) = delete;

  /// Posts the start sequence. Once.
  void startWithConfigOptions(std::shared_ptr<KLConfigOptions> options);
  using OnResponse = std::function<void(const KLCampaignResponse&)>;
  /// Fetches the configuration on demand. `completion` runs on the network's thread, possibly before the answer is in force; before
  /// the start is complete it runs at once with error 1007.
  void fetchCampaignsWithCompletion(OnResponse completion);
  /// Shows a test popup when `url` asks for one.
  bool handleOpenURL(const std::string& url);

  std::shared_ptr<KLConfigOptions> options() const;
  std::shared_ptr<const KLPopupPlanModel> planWithIdentifier(const std::string& planID) const;
  /// Has the recorder, if there is one, told what became of a popup. Waits for nothing.
  void noteOutcome(KLPopupOutcome outcome);
  bool hasCompleteInit() const { return hasCompleteInit_; }
  /// Null before the start and after the end. Use it on the trigger queue, but for what it allows elsewhere.
  KLTrigger* trigger() const { return trigger_; }

  /// Lets everything go that waits, and stops listening: from here on nothing is triggered, fetched or timed. Any thread but the
  /// trigger queue.
  void stop();
  /// Ends the trigger queue and writes what is stored. After `stop` and once no callback of the network can come any more.
  void close();

 private:
  /// What a fetch brought; no config: it failed.
  struct FetchResult {
    std::shared_ptr<KLPopupConfig> config;
    std::uint64_t userSwitch = 0;  ///< how many user switches there had been when it was asked for
  };
  using OnFetched = std::function<void(FetchResult)>;

  explicit KLManager(KLManagerSurroundings surroundings);

  // Start sequence, on the trigger queue.
  void runStartSequence();
  void setUpDiagnosis();
  void setUpStore();
  void loadHistoryPopupConfig();
  void waitForFirstConfiguration();
  /// An answer to a fetch of the start, on the network's thread: handed to the waiting trigger queue, or, when that waits no more,
  /// put into force there later.
  void takeStartResult(FetchResult result);

  // Listeners.
  void addListeners();
  void removeListeners();
  void observe(const char* name, void (KLManager::*handler)());
  void trackEvent(const std::optional<KLValue>& userInfo);
  /// False when no plan that the event can meet listens to it.
  bool mayConcernPlans(const KLValue& record) const;
  void switchUser();
  void applicationDidEnterBackground();
  void applicationDidBecomeActive();
  void applicationDidFinishLaunching();

  /// Queues work that may change the plans in force to such as listen to `needed` at most (null: to any event). None of it is done
  /// once the manager has stopped.
  using NeededEvents = std::shared_ptr<const KLPlanManager::EventSet>;
  void changePlans(NeededEvents needed, std::function<void(KLManager&)> work);
  /// What the plans of an answer listen to.
  static NeededEvents neededEvents(const FetchResult& result);

  /// What the application asks for, on the background queue.
  void fetchOnDemand(const OnResponse& completion);
  /// `reply`: the server's to the test popup that `url` asked for; null when there was none.
  void showTestPopup(const std::string& url, const KLValue* reply) const;

  // Refresh.
  void fetchPopupConfig();
  void fetch(OnFetched onFetched);
  /// Puts an answer into force, unless it was asked for before the last user switch: each switch asks anew.
  void install(const FetchResult& result);
  void applyFetched(const FetchResult& result);
  void fetchPopupConfigWithInterval(double seconds);
  void makeTimer(double fireTime, double interval);
  KLPresentationHooks presentation() const;

  KLManagerSurroundings around_;
  KLPopupConfigFetcher fetcher_;
  KLNetworkReachabilityManager reachabilityManager_;
  std::atomic<bool> hasCompleteInit_{false};
  std::atomic<bool> stopped_{false};
  std::atomic<std::uint64_t> userSwitches_{0};
  std::shared_ptr<KLWakeUp> firstAnswer_;  ///< raised by the first answer, and by `stop`
  mutable std::mutex planChangesMutex_;
  std::list<NeededEvents> planChanges_;  ///< queued or under way; guarded by planChangesMutex_
  mutable std::mutex mutex_;             ///< guards what follows
  std::shared_ptr<KLConfigOptions> options_;
  KLPresentationHooks presentation_;
  bool waitingForStart_ = false;
  std::vector<FetchResult> startResults_;  ///< answers that came while the start waited for them
  std::vector<KLNotificationCenter::Token> tokens_;

  // Trigger queue only; declared in the order of need, so that what uses goes before what is used.
  bool appRelaunched_ = false;  ///< has been in the background, and no return has been dealt with since
  bool inBackground_ = false;
  std::unique_ptr<KaleoDataStore> store_;
  std::unique_ptr<KLTrigger> ownedTrigger_;
  std::atomic<KLTrigger*> trigger_{nullptr};  ///< any thread, null before the start
  std::unique_ptr<KLConfigurationInstaller> installer_;
  std::unique_ptr<KLRepeatingTimer> timer_;
  std::shared_ptr<KLQueue> triggerQueue_;
};

}  // namespace kaleo
