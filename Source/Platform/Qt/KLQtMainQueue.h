#pragma once

#include <memory>

#include "kaleo/KLQueue.h"

namespace kaleo {

/// The main queue on Qt's event loop: each task is a posted event, so tasks and the application's own events take turns, and
/// tasks keep their order. A task that runs an event loop of its own (a modal dialog) lets later tasks run inside it.
///
/// "Current" is the application's main thread as a whole, so that `sync` from any code on it runs in place.
/// The queue ends with `QCoreApplication::aboutToQuit`, or with the application object when its loop never ran. From then on
/// tasks are dropped, because what they would touch is going: a `sync` that waits, and every later one from another thread,
/// returns without its task having run; on the main thread it still runs in place.
///
/// Threads: made on the main thread while the application exists; used and dropped on any thread.
class KLQtMainQueue final : public KLQueue {
 public:
  KLQtMainQueue();
  ~KLQtMainQueue() override;

  void async(Task task) override;
  void asyncAfter(double seconds, Task task) override;
  bool isCurrent() const override;
  void sync(const Task& task) override;
  const std::string& label() const override { return label_; }

 private:
  class Receiver;
  struct State;

  std::shared_ptr<State> state_;
  const std::string label_ = "main";
};

}  // namespace kaleo
