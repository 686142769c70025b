#pragma once

#include <cstdint>
#include <string>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The time of day. Port.
/// Threads: `now` may be called from any thread.
class KALEO_API KLClock {
 public:
  virtual ~KLClock() = default;
  KLClock(const KLClock&) = delete;
  KLClock& operator=(const KLClock&) = delete;

  /// Seconds since 1970-01-01T00:00:00Z, with fractions. May jump when the device's clock is set.
  virtual double now() const = 0;

 protected:
  KLClock() = default;
};

/// A source of randomness. Port.
/// Threads: any.
class KALEO_API KLRandom {
 public:
  virtual ~KLRandom() = default;
  KLRandom(const KLRandom&) = delete;
  KLRandom& operator=(const KLRandom&) = delete;

  /// `count` bytes fit for keys.
  virtual KLBytes bytes(std::size_t count) = 0;
  /// A uniform number below `bound`; 0 for a bound of 0.
  virtual std::uint32_t below(std::uint32_t bound) = 0;
  /// A version 4 UUID (RFC 9562) as upper-case text.
  virtual std::string uuid() = 0;

 protected:
  KLRandom() = default;
};

}  // namespace kaleo
