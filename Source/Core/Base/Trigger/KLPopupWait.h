#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "kaleo/KLPopupOutcome.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// The worker's wait for the popup that it has handed on, and what presentation tells of the popup meanwhile.
/// Threads: as each member says. Nothing is lost that comes before the worker begins to wait.
class KLPopupWait {
 public:
  using Tell = std::function<void(const KLPopupOutcome&)>;

  explicit KLPopupWait(KLThreading& threading) : wakeUp_(threading.makeWakeUp()) {}

  /// Takes back an earlier end. The worker.
  void begin();
  /// The popup is gone, or is not to be waited for. Any thread.
  void end();
  /// Any thread.
  bool hasEnded() const { return hasEnded_; }

  /// Any thread. An outcome that comes before `end` is told before the wait is over.
  void add(KLPopupOutcome outcome);
  /// Hands out what has come, in its order. The worker.
  void handOut(const Tell& tell);
  /// Blocks until the end and hands out what comes meanwhile, as it comes. The worker.
  void wait(const Tell& tell);

 private:
  const std::unique_ptr<KLWakeUp> wakeUp_;  ///< raised: something has come, or the end
  std::atomic<bool> hasEnded_{false};
  std::mutex mutex_;
  std::vector<KLPopupOutcome> outcomes_;  ///< guarded by mutex_
};

}  // namespace kaleo
