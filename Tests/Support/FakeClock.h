#pragma once

#include "kaleo/KLClock.h"

namespace kaleo::testing {

/// A clock that stands until it is set.
class FakeClock final : public KLClock {
 public:
  explicit FakeClock(double now = 1'700'000'000) : now_(now) {}

  double now() const override { return now_; }
  void set(double now) { now_ = now; }
  void advance(double seconds) { now_ += seconds; }

 private:
  double now_;
};

}  // namespace kaleo::testing
