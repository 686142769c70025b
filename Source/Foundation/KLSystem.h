#pragma once

#include "kaleo/KLClock.h"

namespace kaleo {

/// The machine's own time of day.
class KLSystemClock final : public KLClock {
 public:
  double now() const override;
};

/// Randomness of the operating system, by way of OpenSSL.
class KLSystemRandom final : public KLRandom {
 public:
  KLBytes bytes(std::size_t count) override;
  std::uint32_t below(std::uint32_t bound) override;
  std::string uuid() override;
};

}  // namespace kaleo
