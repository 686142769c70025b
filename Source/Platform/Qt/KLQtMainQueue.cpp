#include "KLQtMainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace kaleo {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Timers take whole milliseconds in an int; longer waits are made of several.
constexpr double kLongestTimerSeconds = 24 * 3600;
/// Longer than any process runs, and far from what a time point can hold.
constexpr double kLongestDelaySeconds = 100.0 * 365 * 24 * 3600;

void runSwallowing(const KLQueue::Task& task) {
  try {
    if (task) task();
  } catch (...) {  // a task that throws must not take the event loop with it
  }
}

/// What a waiting `sync` waits on.
struct Completion {
  std::mutex mutex;
  std::condition_variable reached;
  bool done = false;

  void signal() {
    std::lock_guard lock(mutex);
    done = true;
    reached.notify_all();
  }
  void wait() {
    std::unique_lock lock(mutex);
    reached.wait(lock, [this] { return done; });
  }
};

class TaskEvent final : public QEvent {
 public:
  static Type eventType() {
    static const Type type = static_cast<Type>(registerEventType());
    return type;
  }
  explicit TaskEvent(KLQueue::Task task, std::shared_ptr<Completion> completion = nullptr)
      : QEvent(eventType()), task_(std::move(task)), completion_(std::move(completion)) {}
  // Also reached when the event was never delivered, so that nobody waits for a dropped task.
  ~TaskEvent() override {
    if (completion_) completion_->signal();
  }
  void run() { runSwallowing(std::exchange(task_, nullptr)); }

 private:
  KLQueue::Task task_;
  std::shared_ptr<Completion> completion_;
};

double secondsUntil(SteadyClock::time_point due) { return std::chrono::duration<double>(due - SteadyClock::now()).count(); }

}  // namespace

class KLQtMainQueue::Receiver final : public QObject {
 public:
  bool isRunning() const { return depth_ > 0; }

  void runAt(SteadyClock::time_point due, Task task) {
    const double remaining = secondsUntil(due);
    if (remaining <= 0) return run([&task] { runSwallowing(task); });
    const auto wait =
        std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(std::min(remaining, kLongestTimerSeconds)));
    QTimer::singleShot(wait, Qt::PreciseTimer, this,
                       [this, due, task = std::move(task)]() mutable { runAt(due, std::move(task)); });
  }

 protected:
  bool event(QEvent* event) override {
    if (event->type() != TaskEvent::eventType()) return QObject::event(event);
    run([event] { static_cast<TaskEvent*>(event)->run(); });
    return true;
  }

 private:
  template <typename Function>
  void run(Function function) {
    ++depth_;
    function();
    --depth_;
  }

  int depth_ = 0;
};

struct KLQtMainQueue::State {
  QThread* const mainThread = QThread::currentThread();
  std::mutex mutex;
  Receiver* receiver = new Receiver;  // guarded by `mutex`; null once the queue has ended

  /// Drops `event` when the queue has ended.
  void post(std::unique_ptr<TaskEvent> event) {
    std::lock_guard lock(mutex);
    if (receiver) QCoreApplication::postEvent(receiver, event.release());
  }

  Receiver* currentReceiver() {
    std::lock_guard lock(mutex);
    return receiver;
  }

  Receiver* takeReceiver() {
    std::lock_guard lock(mutex);
    return std::exchange(receiver, nullptr);
  }

  // Destroying the receiver destroys its posted events and timers, and with them their tasks, outside of the lock.
  void end() { delete takeReceiver(); }
};

KLQtMainQueue::KLQtMainQueue() : state_(std::make_shared<State>()) {
  const auto end = [state = std::weak_ptr(state_)] {
    if (const auto alive = state.lock()) alive->end();
  };
  QObject* application = QCoreApplication::instance();
  Receiver* receiver = state_->receiver;
  QObject::connect(qApp, &QCoreApplication::aboutToQuit, receiver, end, Qt::DirectConnection);
  QObject::connect(application, &QObject::destroyed, receiver, end, Qt::DirectConnection);
}

KLQtMainQueue::~KLQtMainQueue() {
  Receiver* receiver = state_->takeReceiver();
  if (!receiver) return;
  QCoreApplication::removePostedEvents(receiver);
  if (isCurrent() && !receiver->isRunning()) {
    delete receiver;
  } else {
    receiver->deleteLater();
  }
}

void KLQtMainQueue::async(Task task) { state_->post(std::make_unique<TaskEvent>(std::move(task))); }

void KLQtMainQueue::asyncAfter(double seconds, Task task) {
  if (!(seconds > 0)) return async(std::move(task));
  const auto delay = std::chrono::duration<double>(std::min(seconds, kLongestDelaySeconds));
  const auto due = SteadyClock::now() + std::chrono::ceil<SteadyClock::duration>(delay);
  async([state = std::weak_ptr(state_), due, task = std::move(task)]() mutable {
    const auto alive = state.lock();
    if (Receiver* receiver = alive ? alive->currentReceiver() : nullptr) receiver->runAt(due, std::move(task));
  });
}

bool KLQtMainQueue::isCurrent() const { return QThread::currentThread() == state_->mainThread; }

void KLQtMainQueue::sync(const Task& task) {
  if (isCurrent()) return runSwallowing(task);
  const auto completion = std::make_shared<Completion>();
  state_->post(std::make_unique<TaskEvent>(task, completion));
  completion->wait();
}

}  // namespace kaleo
