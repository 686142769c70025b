#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kaleo/KLQueue.h"

namespace kaleo {

/// A queue over an Asio event loop: serial on one thread, concurrent on several.
class KLAsioQueue final : public KLQueue {
 public:
  KLAsioQueue(std::string label, int threadCount);
  /// Stops.
  ~KLAsioQueue() override;

  void async(Task task) override;
  void asyncAfter(double seconds, Task task) override;
  bool isCurrent() const override;
  void sync(const Task& task) override;
  const std::string& label() const override;

  /// Takes no further tasks, runs what `async` had accepted, drops delayed tasks and ends the threads. Once is enough.
  void stop();

 private:
  struct State;
  std::shared_ptr<State> state_;  ///< shared with the threads
  std::vector<std::thread> threads_;
};

}  // namespace kaleo
