#include "Foundation/KLThreads.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "Foundation/KLAsioQueue.h"

namespace kaleo {
namespace {

constexpr int kBackgroundThreads = 4;
/// Longer waits mean "without limit"; the bound keeps the clock's arithmetic from overflowing.
constexpr double kMaxWaitSeconds = 10.0 * 365 * 86400;

}  // namespace

struct KLThreadThreading::State {
  const std::shared_ptr<KLAsioQueue> background = std::make_shared<KLAsioQueue>("org.kaleo.background", kBackgroundThreads);
};

KLThreadThreading::KLThreadThreading() : state_(std::make_unique<State>()) {}
KLThreadThreading::~KLThreadThreading() { state_->background->stop(); }

std::shared_ptr<KLQueue> KLThreadThreading::makeSerialQueue(std::string label) {
  return std::make_shared<KLAsioQueue>(std::move(label), 1);
}

std::shared_ptr<KLQueue> KLThreadThreading::backgroundQueue() { return state_->background; }

std::unique_ptr<KLWakeUp> KLThreadThreading::makeWakeUp() { return std::make_unique<KLThreadWakeUp>(); }

struct KLThreadWakeUp::State {
  mutable std::mutex mutex;
  std::condition_variable changed;
  bool raised = false;  ///< guarded by mutex
};

KLThreadWakeUp::KLThreadWakeUp() : state_(std::make_unique<State>()) {}
KLThreadWakeUp::~KLThreadWakeUp() = default;

void KLThreadWakeUp::reset() {
  std::lock_guard lock(state_->mutex);
  state_->raised = false;
}

void KLThreadWakeUp::raise() {
  std::lock_guard lock(state_->mutex);
  state_->raised = true;
  state_->changed.notify_all();  // under the lock: the waiter may destroy this as soon as it has the lock
}

bool KLThreadWakeUp::isRaised() const {
  std::lock_guard lock(state_->mutex);
  return state_->raised;
}

bool KLThreadWakeUp::wait(double timeoutSeconds) {
  const auto raised = [this] { return state_->raised; };
  std::unique_lock lock(state_->mutex);
  if (timeoutSeconds < 0) {
    state_->changed.wait(lock, raised);
    return true;
  }
  return state_->changed.wait_for(lock, std::chrono::duration<double>(std::min(timeoutSeconds, kMaxWaitSeconds)), raised);
}

}  // namespace kaleo
