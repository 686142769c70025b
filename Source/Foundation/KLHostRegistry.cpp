#include <atomic>
#include <mutex>

#include "kaleo/KLHost.h"

namespace kaleo {

struct KLHostRegistry::State {
  mutable std::mutex mutex;  ///< guards what follows; never held while the host is called or one of its objects dies
  std::shared_ptr<NimbraSDK> nimbraSDK;
  std::shared_ptr<NBLog> nbLog;
  std::shared_ptr<NBStoreManager> nbStoreManager;
  std::shared_ptr<NBKeyChainItemWrapper> nbKeyChainItemWrapper;
  std::shared_ptr<NBEventTracker> nbEventTracker;
  std::atomic<bool> hasNBLog{false};  ///< written under the lock, read without it
  bool hasNBSchema = false;
  NBEventTracker::Hook hook;
  std::uint64_t changes = 0;  ///< of tracker and hook

  template <class T>
  std::shared_ptr<T> get(const std::shared_ptr<T>& slot) const {
    std::lock_guard lock(mutex);
    return slot;
  }

  /// Answers what was there before.
  template <class T>
  std::shared_ptr<T> exchange(std::shared_ptr<T>& slot, std::shared_ptr<T> object) {
    std::lock_guard lock(mutex);
    return std::exchange(slot, std::move(object));
  }

  /// What `tracker` should have now: the hook while it is the registered one, else none.
  NBEventTracker::Hook hookFor(const NBEventTracker* tracker, std::uint64_t& seen) const {
    std::lock_guard lock(mutex);
    seen = changes;
    return tracker == nbEventTracker.get() ? hook : nullptr;
  }

  bool changedSince(std::uint64_t seen) const {
    std::lock_guard lock(mutex);
    return changes != seen;
  }

  /// Gives `tracker` what it should have. Two threads may do so at once, and the slower one would leave an outdated hook behind:
  /// therefore each looks again after its call.
  void settle(const std::shared_ptr<NBEventTracker>& tracker) const {
    if (!tracker) return;
    std::uint64_t seen = 0;
    do {
      try {
        tracker->setTrackEventHook(hookFor(tracker.get(), seen));
      } catch (...) {  // a host's tracker that throws goes without the hook
      }
    } while (changedSince(seen));
  }
};

KLHostRegistry::KLHostRegistry() : state_(std::make_unique<State>()) {}
KLHostRegistry::~KLHostRegistry() = default;

void KLHostRegistry::registerNimbraSDK(std::shared_ptr<NimbraSDK> object) {
  state_->exchange(state_->nimbraSDK, std::move(object));
}

void KLHostRegistry::registerNBLog(std::shared_ptr<NBLog> object) {
  std::lock_guard lock(state_->mutex);
  state_->nbLog.swap(object);  // the old one dies with the parameter, outside the lock
  state_->hasNBLog.store(state_->nbLog != nullptr, std::memory_order_release);
}

void KLHostRegistry::registerNBStoreManager(std::shared_ptr<NBStoreManager> object) {
  state_->exchange(state_->nbStoreManager, std::move(object));
}

void KLHostRegistry::registerNBKeyChainItemWrapper(std::shared_ptr<NBKeyChainItemWrapper> object) {
  state_->exchange(state_->nbKeyChainItemWrapper, std::move(object));
}

void KLHostRegistry::registerNBEventTracker(std::shared_ptr<NBEventTracker> object) {
  std::shared_ptr<NBEventTracker> before;
  {
    std::lock_guard lock(state_->mutex);
    before = std::exchange(state_->nbEventTracker, object);
    ++state_->changes;
  }
  if (before != object) state_->settle(before);
  state_->settle(object);
}

void KLHostRegistry::registerNBSchema(bool present) {
  std::lock_guard lock(state_->mutex);
  state_->hasNBSchema = present;
}

std::shared_ptr<NimbraSDK> KLHostRegistry::nimbraSDK() const { return state_->get(state_->nimbraSDK); }
std::shared_ptr<NBLog> KLHostRegistry::nbLog() const { return state_->get(state_->nbLog); }
bool KLHostRegistry::hasNBLog() const noexcept { return state_->hasNBLog.load(std::memory_order_acquire); }
std::shared_ptr<NBStoreManager> KLHostRegistry::nbStoreManager() const { return state_->get(state_->nbStoreManager); }
std::shared_ptr<NBKeyChainItemWrapper> KLHostRegistry::nbKeyChainItemWrapper() const {
  return state_->get(state_->nbKeyChainItemWrapper);
}

bool KLHostRegistry::hasNBSchema() const {
  std::lock_guard lock(state_->mutex);
  return state_->hasNBSchema;
}

void KLHostRegistry::setTrackEventHook(NBEventTracker::Hook hook) {
  std::shared_ptr<NBEventTracker> tracker;
  {
    std::lock_guard lock(state_->mutex);
    state_->hook.swap(hook);  // the old one dies with the parameter, outside the lock
    ++state_->changes;
    tracker = state_->nbEventTracker;
  }
  state_->settle(tracker);
}

}  // namespace kaleo
