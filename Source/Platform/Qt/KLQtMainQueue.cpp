#include "KLQtMainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <future>

namespace kaleo {
namespace {

/// Longer delays mean "some day"; the bound keeps the timer's arithmetic in range.
constexpr double kMaxDelaySeconds = 20.0 * 86400;

QEvent::Type taskEventType() {
  static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
  return type;
}

/// Carries one task; what it holds goes with it when the event is dropped.
class TaskEvent final : public QEvent {
 public:
  explicit TaskEvent(KLQueue::Task task) : QEvent(taskEventType()), task_(std::move(task)) {}
  void run() {
    try {
      task_();
    } catch (...) {  // as in every queue
    }
  }

 private:
  KLQueue::Task task_;
};

}  // namespace

class KLQtMainQueue::Receiver final : public QObject {
 public:
  bool event(QEvent* event) override {
    if (event->type() != taskEventType()) return QObject::event(event);
    static_cast<TaskEvent*>(event)->run();
    return true;
  }
};

KLQtMainQueue::KLQtMainQueue() : receiver_(std::make_unique<Receiver>()) {}
KLQtMainQueue::~KLQtMainQueue() = default;

void KLQtMainQueue::async(Task task) { QCoreApplication::postEvent(receiver_.get(), new TaskEvent(std::move(task))); }

void KLQtMainQueue::asyncAfter(double seconds, Task task) {
  if (seconds <= 0) return async(std::move(task));
  const auto delay = std::chrono::milliseconds(static_cast<qint64>(std::min(seconds, kMaxDelaySeconds) * 1000 + 0.5));
  // The timer is made on the main thread, whatever thread asks.
  async([receiver = receiver_.get(), delay, task = std::move(task)] {
    QTimer::singleShot(delay, Qt::PreciseTimer, receiver, [task] {
      try {
        task();
      } catch (...) {  // as in every queue
      }
    });
  });
}

bool KLQtMainQueue::isCurrent() const { return QThread::currentThread() == receiver_->thread(); }

void KLQtMainQueue::sync(const Task& task) {
  if (isCurrent()) {
    TaskEvent(task).run();
    return;
  }
  // A dropped event breaks the promise, which ends the wait as well.
  auto done = std::make_shared<std::promise<void>>();
  auto finished = done->get_future();
  async([task, done = std::move(done)] {
    task();
    done->set_value();
  });
  finished.wait();
}

}  // namespace kaleo
