#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "kaleo/KLQueue.h"

namespace kaleo::testing {

/// Real threads whose limited waits are over soon, so that a test sees what comes after a limit of half a minute.
class ShortWaits : public KLThreading {
 public:
  explicit ShortWaits(std::shared_ptr<KLThreading> threading) : threading_(std::move(threading)) {}

  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override { return threading_->makeSerialQueue(std::move(label)); }
  std::shared_ptr<KLQueue> backgroundQueue() override { return threading_->backgroundQueue(); }
  std::unique_ptr<KLWakeUp> makeWakeUp() override { return std::make_unique<WakeUp>(threading_->makeWakeUp()); }

 private:
  class WakeUp : public KLWakeUp {
   public:
    explicit WakeUp(std::unique_ptr<KLWakeUp> wakeUp) : wakeUp_(std::move(wakeUp)) {}
    void reset() override { wakeUp_->reset(); }
    void raise() override { wakeUp_->raise(); }
    bool isRaised() const override { return wakeUp_->isRaised(); }
    bool wait(double timeoutSeconds) override { return wakeUp_->wait(std::min(timeoutSeconds, kLimitSeconds)); }

   private:
    static constexpr double kLimitSeconds = 0.1;
    const std::unique_ptr<KLWakeUp> wakeUp_;
  };

  const std::shared_ptr<KLThreading> threading_;
};

}  // namespace kaleo::testing
