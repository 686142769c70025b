#pragma once

#include <algorithm>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLClock.h"
#include "kaleo/KLQueue.h"

namespace kaleo::testing {

/// Queues that run by hand, on the test's thread, in virtual time: a task runs only inside `run`, `advance`, a `sync` or a
/// wake-up's `wait`, always in the order of its due time and then of its posting. A queue whose task is waiting runs nothing else
/// meanwhile.
class ManualThreading : public KLThreading {
 public:
  class Clock : public KLClock {
   public:
    explicit Clock(const ManualThreading& threads) : threads_(threads) {}
    double now() const override { return threads_.now_; }

   private:
    const ManualThreading& threads_;
  };

  explicit ManualThreading(double now = 1'700'000'000) : now_(now) {
    background_ = std::make_shared<Queue>(*this, "background", true);
    main_ = std::make_shared<Queue>(*this, "main", false);
  }

  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override {
    return std::make_shared<Queue>(*this, std::move(label), false);
  }
  std::shared_ptr<KLQueue> backgroundQueue() override { return background_; }
  std::unique_ptr<KLWakeUp> makeWakeUp() override { return std::make_unique<WakeUp>(*this); }
  const std::shared_ptr<KLQueue>& mainQueue() const { return main_; }

  /// Runs what is due until nothing is.
  void run() {
    while (runNext(now_)) {
    }
  }
  /// Lets `seconds` of virtual time pass, running what falls due at its own time.
  void advance(double seconds) {
    const double end = now_ + seconds;
    while (runNext(end)) {
    }
    now_ = end;
  }
  double now() const { return now_; }
  bool isIdle() const { return tasks_.empty(); }

 private:
  class Queue : public KLQueue {
   public:
    Queue(ManualThreading& threads, std::string label, bool concurrent)
        : threads_(threads), label_(std::move(label)), concurrent_(concurrent) {}
    ~Queue() override { threads_.end(this); }

    void async(Task task) override { threads_.post(this, threads_.now_, std::move(task)); }
    void asyncAfter(double seconds, Task task) override {
      threads_.post(this, threads_.now_ + std::max(seconds, 0.0), std::move(task));
    }
    bool isCurrent() const override { return !threads_.running_.empty() && threads_.running_.back() == this; }
    void sync(const Task& task) override { threads_.syncOn(this, task); }
    const std::string& label() const override { return label_; }
    bool isBlocked() const {
      const auto& running = threads_.running_;
      return !concurrent_ && std::find(running.begin(), running.end(), this) != running.end();
    }

   private:
    ManualThreading& threads_;
    std::string label_;
    bool concurrent_;
  };

  class WakeUp : public KLWakeUp {
   public:
    explicit WakeUp(ManualThreading& threads) : threads_(threads) {}
    void reset() override { raised_ = false; }
    void raise() override { raised_ = true; }
    bool isRaised() const override { return raised_; }
    bool wait(double timeoutSeconds) override {
      const double end = timeoutSeconds < 0 ? 1e300 : threads_.now_ + timeoutSeconds;
      while (!raised_ && threads_.runNext(end)) {
      }
      if (!raised_ && timeoutSeconds >= 0) threads_.now_ = end;
      return raised_;
    }

   private:
    ManualThreading& threads_;
    bool raised_ = false;
  };

  struct Entry {
    double due;
    Queue* queue;
    KLQueue::Task task;
  };

  void post(Queue* queue, double due, KLQueue::Task task) {
    const auto later = std::find_if(tasks_.begin(), tasks_.end(), [&](const Entry& entry) { return entry.due > due; });
    tasks_.insert(later, Entry{due, queue, std::move(task)});
  }

  /// Runs the first task that is due by `end` and whose queue is free; answers whether there was one.
  bool runNext(double end) {
    const auto next = std::find_if(tasks_.begin(), tasks_.end(), [](const Entry& entry) { return !entry.queue->isBlocked(); });
    if (next == tasks_.end() || next->due > end) return false;
    now_ = std::max(now_, next->due);
    Entry entry = std::move(*next);
    tasks_.erase(next);
    runOn(entry.queue, entry.task);
    return true;
  }

  void runOn(Queue* queue, const KLQueue::Task& task) {
    running_.push_back(queue);
    try {
      task();
    } catch (...) {
    }
    running_.pop_back();
  }

  /// Runs what was posted to `queue` before, then `task`.
  void syncOn(Queue* queue, const KLQueue::Task& task) {
    if (queue->isBlocked()) return task();
    for (;;) {
      const auto next =
          std::find_if(tasks_.begin(), tasks_.end(), [&](const Entry& entry) { return entry.queue == queue && entry.due <= now_; });
      if (next == tasks_.end()) break;
      Entry entry = std::move(*next);
      tasks_.erase(next);
      runOn(queue, entry.task);
    }
    runOn(queue, task);
  }

  /// A queue goes: what was accepted runs, what was delayed is dropped.
  void end(Queue* queue) {
    for (;;) {
      const auto next = std::find_if(tasks_.begin(), tasks_.end(), [&](const Entry& entry) { return entry.queue == queue; });
      if (next == tasks_.end()) return;
      Entry entry = std::move(*next);
      tasks_.erase(next);
      if (entry.due <= now_) runOn(queue, entry.task);
    }
  }

  double now_;
  std::list<Entry> tasks_;
  std::vector<Queue*> running_;  ///< innermost last
  std::shared_ptr<Queue> background_;
  std::shared_ptr<KLQueue> main_;
};

}  // namespace kaleo::testing
