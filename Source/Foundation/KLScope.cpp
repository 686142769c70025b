#include "Foundation/KLScope.h"

namespace kaleo {

KLScope::Ticket KLScope::keep(Work work) {
  std::lock_guard lock(mutex_);
  if (closed_) return 0;
  waiting_.emplace(next_, std::move(work));
  return next_++;
}

void KLScope::run(Ticket ticket) {
  Work work;
  {
    std::lock_guard lock(mutex_);
    auto found = waiting_.extract(ticket);
    if (found.empty()) return;
    work = std::move(found.mapped());
    running_.emplace(std::this_thread::get_id(), ticket);
  }
  try {
    work();
  } catch (...) {  // as in every queue
  }
  work = nullptr;  // what it holds goes before the scope is told that it is done
  std::lock_guard lock(mutex_);
  const auto [first, last] = running_.equal_range(std::this_thread::get_id());
  for (auto it = first; it != last; ++it) {
    if (it->second != ticket) continue;
    running_.erase(it);
    break;
  }
  idle_.notify_all();
}

void KLScope::drop(Ticket ticket) {
  std::map<Ticket, Work>::node_type dropped;  // destroyed after the lock
  std::lock_guard lock(mutex_);
  dropped = waiting_.extract(ticket);
}

void KLScope::close() {
  std::map<Ticket, Work> dropped;
  std::unique_lock lock(mutex_);
  closed_ = true;
  dropped.swap(waiting_);
  const auto own = std::this_thread::get_id();
  idle_.wait(lock, [&] { return running_.size() == running_.count(own); });
  lock.unlock();
}

bool KLScope::isClosed() const {
  std::lock_guard lock(mutex_);
  return closed_;
}

void KLScopedQueue::async(Task task) {
  const auto ticket = scope_->keep(std::move(task));
  if (ticket) queue_->async([scope = scope_, ticket] { scope->run(ticket); });
}

void KLScopedQueue::asyncAfter(double seconds, Task task) {
  const auto ticket = scope_->keep(std::move(task));
  if (ticket) queue_->asyncAfter(seconds, [scope = scope_, ticket] { scope->run(ticket); });
}

namespace {

/// An exchange whose completion waits in a scope.
class ScopedTask final : public KLHTTPTask {
 public:
  ScopedTask(std::shared_ptr<KLHTTPTask> task, std::shared_ptr<KLScope> scope, KLScope::Ticket ticket)
      : task_(std::move(task)), scope_(std::move(scope)), ticket_(ticket) {}

  void cancel() override {
    if (task_) task_->cancel();
    scope_->drop(ticket_);
  }

 private:
  std::shared_ptr<KLHTTPTask> task_;
  std::shared_ptr<KLScope> scope_;
  KLScope::Ticket ticket_;
};

}  // namespace

std::shared_ptr<KLHTTPTask> KLScopedHTTPSession::dataTask(KLHTTPRequest request, Completion completion) {
  const auto result = std::make_shared<KLHTTPResult>();
  const auto ticket = scope_->keep([result, completion = std::move(completion)] { completion(std::move(*result)); });
  if (!ticket) return nullptr;
  auto task = session_->dataTask(std::move(request), [scope = scope_, ticket, result](KLHTTPResult answer) {
    *result = std::move(answer);
    scope->run(ticket);
  });
  return std::make_shared<ScopedTask>(std::move(task), scope_, ticket);
}

}  // namespace kaleo
