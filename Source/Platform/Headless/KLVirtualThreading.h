#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "kaleo/KLClock.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Queues, wake-ups and a clock in virtual time, all on the caller's thread: for tools that replay what happened over weeks in a
/// moment, and for tests, which never sleep.
///
/// A task runs only inside `run`, `advance`, a `sync` or a wake-up's `wait`, always in the order of its due time and then of its
/// posting, so that the same work gives the same result every time. A serial queue whose task is waiting runs nothing else
/// meanwhile; tasks of the background queue may run inside one another's waits. Time passes in three ways only: `advance` and a
/// `wait` let it run on from one due task to the next, `moveTo` leaps.
///
/// Threads: one thread for everything, whatever the ports allow. Lifetime: outlives its queues, wake-ups and clocks.
class KLVirtualThreading : public KLThreading {
 public:
  /// The virtual time of day.
  class Clock final : public KLClock {
   public:
    explicit Clock(const KLVirtualThreading& threads) : threads_(threads) {}
    double now() const override { return threads_.now_; }

   private:
    const KLVirtualThreading& threads_;
  };

  /// `now`: where the time begins, seconds since 1970.
  explicit KLVirtualThreading(double now);
  ~KLVirtualThreading() override;

  /// Dropping such a queue runs what it had accepted and drops what was delayed.
  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override;
  std::shared_ptr<KLQueue> backgroundQueue() override;
  /// Its `wait` runs other queues' tasks until one of them raises it. A wait without limit that nothing is left to end answers
  /// false rather than hang.
  std::unique_ptr<KLWakeUp> makeWakeUp() override;
  /// A serial queue that stands for the main thread.
  const std::shared_ptr<KLQueue>& mainQueue() const { return mainQueue_; }

  /// Runs what is due until nothing is.
  void run();
  /// Lets `seconds` pass, running what falls due at its own time.
  void advance(double seconds);
  /// Leaps to `instant`, unless that lies in the past, and runs nothing: what would have fallen due meanwhile is due from then on,
  /// as on a machine that was asleep. A timer thus fires once after a leap, however many of its periods the leap has skipped.
  void moveTo(double instant);

  double now() const { return now_; }
  /// Whether no task is left, a delayed one included.
  bool isIdle() const { return tasks_.empty(); }

 private:
  class Queue;
  class WakeUp;
  struct Entry {
    double due;
    Queue* queue;
    KLQueue::Task task;
  };
  using Position = std::list<Entry>::iterator;

  void post(Queue* queue, double due, KLQueue::Task task);
  /// Runs the first task that is due by `end` and whose queue is free; answers whether there was one.
  bool runNext(double end);
  /// Runs what was posted to `queue` before, then `task`.
  void syncOn(Queue* queue, const KLQueue::Task& task);
  void endQueue(Queue* queue);
  void runEntry(Position position);
  void runOn(Queue* queue, const KLQueue::Task& task);
  bool isRunning(const Queue* queue) const;

  double now_;
  std::list<Entry> tasks_;       ///< in the order in which they run
  std::vector<Queue*> running_;  ///< innermost last
  std::shared_ptr<Queue> background_;
  std::shared_ptr<KLQueue> mainQueue_;
};

}  // namespace kaleo
