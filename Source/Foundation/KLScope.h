#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Bounds the life of work that is given to queues and sessions which outlive their user: closing a scope drops the work that has
/// not begun and waits for the work that is running, so that nothing of it touches its user afterwards. Threads: any.
class KLScope {
 public:
  using Work = std::function<void()>;
  using Ticket = std::uint64_t;

  KLScope() = default;
  KLScope(const KLScope&) = delete;
  KLScope& operator=(const KLScope&) = delete;

  /// Keeps `work` until `run`, `drop` or `close`. 0 when the scope is closed: the work is dropped at once.
  Ticket keep(Work work);
  /// Runs kept work on the calling thread; nothing when it has been dropped or has run.
  void run(Ticket ticket);
  void drop(Ticket ticket);
  /// Drops what has not begun and waits for what is running on other threads. The work that calls it is not waited for.
  void close();
  bool isClosed() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  bool closed_ = false;                             ///< guarded by mutex_
  Ticket next_ = 1;                                 ///< guarded by mutex_
  std::map<Ticket, Work> waiting_;                  ///< guarded by mutex_
  std::multimap<std::thread::id, Ticket> running_;  ///< guarded by mutex_
};

/// A queue whose tasks belong to a scope. After the scope has been closed it takes no more.
class KLScopedQueue final : public KLQueue {
 public:
  KLScopedQueue(std::shared_ptr<KLQueue> queue, std::shared_ptr<KLScope> scope)
      : queue_(std::move(queue)), scope_(std::move(scope)) {}

  void async(Task task) override;
  void asyncAfter(double seconds, Task task) override;
  bool isCurrent() const override { return queue_->isCurrent(); }
  void sync(const Task& task) override { queue_->sync(task); }
  const std::string& label() const override { return queue_->label(); }

 private:
  std::shared_ptr<KLQueue> queue_;
  std::shared_ptr<KLScope> scope_;
};

/// A factory whose background queue is scoped; serial queues end with their owners anyway.
class KLScopedThreading final : public KLThreading {
 public:
  KLScopedThreading(std::shared_ptr<KLThreading> threading, const std::shared_ptr<KLScope>& scope)
      : threading_(std::move(threading)), background_(std::make_shared<KLScopedQueue>(threading_->backgroundQueue(), scope)) {}

  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override { return threading_->makeSerialQueue(std::move(label)); }
  std::shared_ptr<KLQueue> backgroundQueue() override { return background_; }
  std::unique_ptr<KLWakeUp> makeWakeUp() override { return threading_->makeWakeUp(); }

 private:
  std::shared_ptr<KLThreading> threading_;
  std::shared_ptr<KLQueue> background_;
};

/// A session whose completions belong to a scope.
class KLScopedHTTPSession final : public KLHTTPSession {
 public:
  KLScopedHTTPSession(std::shared_ptr<KLHTTPSession> session, std::shared_ptr<KLScope> scope)
      : session_(std::move(session)), scope_(std::move(scope)) {}

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override;

 private:
  std::shared_ptr<KLHTTPSession> session_;
  std::shared_ptr<KLScope> scope_;
};

}  // namespace kaleo
