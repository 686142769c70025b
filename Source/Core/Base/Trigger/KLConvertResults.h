#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Core/Base/Trigger/KLTriggerSurroundings.h"
#include "Core/Model/KLPlanWindows.h"
#include "Core/Window/KLPlanManager.h"

namespace kaleo {

/// Asks the server, with growing delays, which of the popups that await a conversion have been converted, and stores what it
/// answers. A new round replaces the round that was scheduled before it, so that there is one chain of rounds at a time. Threads:
/// the trigger queue.
class KLConvertResults : public std::enable_shared_from_this<KLConvertResults> {
 public:
  static constexpr double kFirstDelay = 5.0;  ///< seconds; doubled from round to round

  KLConvertResults(const KLTriggerSurroundings& surroundings, KLPlanManager& planManager)
      : around_(surroundings), planManager_(planManager) {}

  /// A popup with a convert window is shown: ask for it, too, and soon.
  void fetchConvertResultsWithUUID(const std::string& uuid);
  /// One round.
  void fetchConvertResults();
  /// Asks for `uuid` no more: its convert window goes.
  void removeUUID(const std::string& uuid);
  /// Empties the list, fills it from the plans, and asks.
  void reload();
  /// Stops asking, as in the background.
  void stop();
  /// The next round waits `kFirstDelay` again.
  void resetDuration() { duration_ = 0; }

  const std::vector<std::string>& unConvertWindowUUIDs() const { return uuids_; }
  double fetchConvertResultsDuration() const { return duration_; }
  bool isPolling() const { return task_ != nullptr; }

 private:
  void loadUnConvertedWindowUUIDs();
  void filterUnConvertedUUIDs();
  void scheduleNextRound();
  std::shared_ptr<KLHTTPTask> requestCampaignConvertResults();
  void handleReply(const std::optional<KLValue>& reply);
  void handleFailure(const std::optional<KLError>& error);
  void saveConvertResult(const KLPopupConvertResult& result) const;

  const KLTriggerSurroundings& around_;
  KLPlanManager& planManager_;
  std::vector<std::string> uuids_;
  double duration_ = 0;               ///< seconds until the next round
  std::uint64_t round_ = 0;           ///< names the scheduled round; an older one does nothing
  std::shared_ptr<KLHTTPTask> task_;  ///< null when polling is stopped
};

}  // namespace kaleo
