#include "simulate/SimulatedRandom.h"

#include <fmt/format.h>

namespace kaleo::tools {

std::uint64_t SimulatedRandom::next() {
  state_ += 0x9E3779B97F4A7C15;
  std::uint64_t mixed = state_;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  return mixed ^ (mixed >> 31);
}

KLBytes SimulatedRandom::bytes(std::size_t count) {
  KLBytes bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(next());
  return bytes;
}

std::uint32_t SimulatedRandom::below(std::uint32_t bound) { return bound == 0 ? 0 : static_cast<std::uint32_t>(next() % bound); }

std::string SimulatedRandom::uuid() {
  constexpr std::uint64_t kVersionMask = 0xF000, kVersion = 0x4000;
  constexpr std::uint64_t kVariantMask = 0xC000'0000'0000'0000, kVariant = 0x8000'0000'0000'0000;
  const std::uint64_t high = (next() & ~kVersionMask) | kVersion;
  const std::uint64_t low = (next() & ~kVariantMask) | kVariant;
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32, (high >> 16) & 0xFFFF, high & 0xFFFF, low >> 48,
                     low & 0xFFFF'FFFF'FFFF);
}

}  // namespace kaleo::tools
