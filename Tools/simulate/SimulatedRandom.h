#pragma once

#include <cstdint>

#include "kaleo/KLClock.h"

namespace kaleo::tools {

/// Numbers that look random and are the same in every run: splitmix64, whose whole state is one number. Not for secrets.
/// Threads: one.
class SimulatedRandom final : public KLRandom {
 public:
  explicit SimulatedRandom(std::uint64_t state) : state_(state) {}

  KLBytes bytes(std::size_t count) override;
  std::uint32_t below(std::uint32_t bound) override;
  std::string uuid() override;

  /// Where a later run goes on, so that it names no popup as this one did.
  std::uint64_t state() const { return state_; }

 private:
  std::uint64_t next();

  std::uint64_t state_;
};

}  // namespace kaleo::tools
