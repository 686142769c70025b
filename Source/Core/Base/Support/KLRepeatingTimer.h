#pragma once

#include <functional>
#include <memory>

#include "kaleo/KLQueue.h"

namespace kaleo {

/// Fires a callback after a first delay and then at a fixed period, on a serial queue of its own.
///
/// No handler starts after `invalidate` has returned, and none is running then, unless `invalidate` was called from inside the
/// handler. A period below `kMinimumInterval` counts as that, so that a server's 0 cannot make the process spin. Threads: any.
class KLRepeatingTimer {
 public:
  static constexpr double kMinimumInterval = 1.0;  ///< seconds

  /// Starts at once. `fireTime` and `interval` in seconds.
  KLRepeatingTimer(KLThreading& threading, double fireTime, double interval, bool repeats, std::function<void()> eventHandler);
  /// Invalidates. Must not run on the timer's own queue.
  ~KLRepeatingTimer();
  KLRepeatingTimer(const KLRepeatingTimer&) = delete;
  KLRepeatingTimer& operator=(const KLRepeatingTimer&) = delete;

  bool repeats() const;
  bool valid() const;
  /// Runs the handler now, on the caller's thread, as a firing does.
  void fire();
  void invalidate();

 private:
  struct State;
  std::shared_ptr<State> state_;
  std::shared_ptr<KLQueue> queue_;
};

}  // namespace kaleo
