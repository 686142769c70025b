#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kaleo::testing {

/// Holds threads until the test opens it, for good; whoever waits 20 seconds goes through all the same.
class Gate {
 public:
  void open() {
    std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  /// Counts the caller as an arrival. Answers whether the gate is open.
  bool pass() {
    std::unique_lock lock(mutex_);
    ++arrivals_;
    changed_.notify_all();
    return changed_.wait_for(lock, kLimit, [this] { return open_; });
  }
  /// Waits until `count` threads have come to the gate in all.
  bool waitForArrivals(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLimit, [&] { return arrivals_ >= count; });
  }

 private:
  static constexpr std::chrono::seconds kLimit{20};

  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;  ///< guarded by mutex_
  int arrivals_ = 0;   ///< guarded by mutex_
};

}  // namespace kaleo::testing
