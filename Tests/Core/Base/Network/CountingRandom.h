#pragma once

#include "kaleo/KLClock.h"

namespace kaleo::testing {

/// Counts up from a seed: two with the same seed give the same.
class CountingRandom final : public KLRandom {
 public:
  explicit CountingRandom(std::uint32_t seed = 0) : next_(seed) {}
  KLBytes bytes(std::size_t count) override {
    KLBytes bytes(count);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(next_++);
    return bytes;
  }
  std::uint32_t below(std::uint32_t bound) override { return bound == 0 ? 0 : next_++ % bound; }
  std::string uuid() override { return "00000000-0000-4000-8000-000000000000"; }

 private:
  std::uint32_t next_;
};

}  // namespace kaleo::testing
