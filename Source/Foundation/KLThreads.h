#pragma once

#include <memory>
#include <string>

#include "kaleo/KLQueue.h"

namespace kaleo {

/// Queues on real threads: one thread for each serial queue, named by its label's suffix after the last dot, and a small pool for
/// the background queue.
class KLThreadThreading final : public KLThreading {
 public:
  KLThreadThreading();
  /// Ends the pool after what it had accepted. Serial queues must be gone.
  ~KLThreadThreading() override;

  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override;
  std::shared_ptr<KLQueue> backgroundQueue() override;
  std::unique_ptr<KLWakeUp> makeWakeUp() override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// A wake-up on a mutex and a condition variable.
class KLThreadWakeUp final : public KLWakeUp {
 public:
  KLThreadWakeUp();
  ~KLThreadWakeUp() override;
  void reset() override;
  void raise() override;
  bool isRaised() const override;
  bool wait(double timeoutSeconds) override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo
