#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kaleo/KLExport.h"

namespace kaleo {

/// A queue of tasks. Port: the library brings serial queues with a thread each, a back end brings the main queue, and tests
/// bring queues that run when told to.
///
/// Ordering: a serial queue runs the tasks given to `async` one at a time, in the order of the calls; everything that a task did
/// is seen by the tasks after it. Tasks never run inside the call that posts them. A task that throws is swallowed.
/// Threads: every member may be called from any thread.
class KALEO_API KLQueue {
 public:
  using Task = std::function<void()>;

  virtual ~KLQueue() = default;
  KLQueue(const KLQueue&) = delete;
  KLQueue& operator=(const KLQueue&) = delete;

  /// Runs `task` later on the queue. After the queue has been stopped the task is dropped.
  virtual void async(Task task) = 0;
  /// Runs `task` on the queue no earlier than `seconds` from now (0 or less: as `async`). Measured on a monotonic clock.
  virtual void asyncAfter(double seconds, Task task) = 0;
  /// Whether the calling thread is running a task of this queue.
  virtual bool isCurrent() const = 0;
  /// Runs `task` on the queue and returns when it has run; runs it in place when already on the queue. It never waits for a queue
  /// that has been stopped: the task then runs in place on the caller's thread, with no other task of the queue beside it, or, on a
  /// main queue whose application is quitting and for callers on other threads, it is dropped.
  virtual void sync(const Task& task) = 0;
  /// The queue's label, for thread names and logs.
  virtual const std::string& label() const = 0;

 protected:
  KLQueue() = default;
};

/// A flag that one thread waits on and others raise. Port, so that a virtual clock can stand in for real waiting.
///
/// A raise is never lost: one that comes before the wait makes the wait return at once.
class KALEO_API KLWakeUp {
 public:
  virtual ~KLWakeUp() = default;
  KLWakeUp(const KLWakeUp&) = delete;
  KLWakeUp& operator=(const KLWakeUp&) = delete;

  /// Takes back an earlier raise.
  virtual void reset() = 0;
  /// Raises the flag and wakes the waiter. Any thread.
  virtual void raise() = 0;
  virtual bool isRaised() const = 0;
  /// Blocks until the flag is raised; `timeoutSeconds` below 0 means without limit. Answers whether it was raised.
  virtual bool wait(double timeoutSeconds) = 0;

 protected:
  KLWakeUp() = default;
};

/// Where queues and wake-ups come from. Port with one implementation over threads and one for virtual time.
/// Lifetime: queues outlive nothing: whoever makes one stops using it before the factory goes.
class KALEO_API KLThreading {
 public:
  virtual ~KLThreading() = default;
  KLThreading(const KLThreading&) = delete;
  KLThreading& operator=(const KLThreading&) = delete;

  /// A new serial queue. Dropping the last reference runs what `async` had accepted, drops delayed tasks, and ends its thread.
  /// It must not be dropped by one of its own tasks.
  virtual std::shared_ptr<KLQueue> makeSerialQueue(std::string label) = 0;
  /// The concurrent background queue of this factory.
  virtual std::shared_ptr<KLQueue> backgroundQueue() = 0;
  virtual std::unique_ptr<KLWakeUp> makeWakeUp() = 0;

 protected:
  KLThreading() = default;
};

}  // namespace kaleo
