#include "Core/Base/Support/KLRepeatingTimer.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

namespace kaleo {

struct KLRepeatingTimer::State : std::enable_shared_from_this<State> {
  bool repeats = false;
  double interval = 0;
  /// Held while the handler runs, so that a caller of `invalidate` on another thread waits for it; recursive, as the handler may
  /// invalidate its own timer.
  std::recursive_mutex mutex;
  bool valid = true;                   ///< guarded by mutex
  std::function<void()> eventHandler;  ///< guarded by mutex

  void fire() {
    std::lock_guard lock(mutex);
    if (!valid) return;
    const auto handler = eventHandler;  // lives on when the handler invalidates its own timer
    try {
      if (handler) handler();
    } catch (...) {  // one firing's fault must not stop the next
    }
    if (!repeats) invalidate();
  }

  void invalidate() {
    std::lock_guard lock(mutex);
    valid = false;
    eventHandler = nullptr;
  }

  void schedule(const std::weak_ptr<KLQueue>& queue, double seconds) {
    const auto strong = queue.lock();
    if (!strong) return;
    strong->asyncAfter(seconds, [weak = weak_from_this(), queue] {
      const auto self = weak.lock();
      if (!self) return;
      self->fire();
      std::lock_guard lock(self->mutex);
      if (self->valid) self->schedule(queue, self->interval);
    });
  }
};

KLRepeatingTimer::KLRepeatingTimer(KLThreading& threading, double fireTime, double interval, bool repeats,
                                   std::function<void()> eventHandler)
    : state_(std::make_shared<State>()),
      queue_(threading.makeSerialQueue(fmt::format("org.kaleo.TimerQueue.{}", fmt::ptr(state_.get())))) {
  state_->repeats = repeats;
  state_->interval = interval > kMinimumInterval ? interval : kMinimumInterval;  // also for what is no number
  state_->eventHandler = std::move(eventHandler);
  state_->schedule(queue_, std::max(fireTime, 0.0));
}

KLRepeatingTimer::~KLRepeatingTimer() { invalidate(); }

bool KLRepeatingTimer::repeats() const { return state_->repeats; }

bool KLRepeatingTimer::valid() const {
  std::lock_guard lock(state_->mutex);
  return state_->valid;
}

void KLRepeatingTimer::fire() { state_->fire(); }

void KLRepeatingTimer::invalidate() { state_->invalidate(); }

}  // namespace kaleo
