#include "simulate/SimulationProgress.h"

namespace kaleo::tools {
namespace {

/// To the first column, and away with the rest of the line (ECMA-48, erase in line).
constexpr const char* kEraseLine = "\r\033[K";

}  // namespace

void SimulationProgress::handled(std::uint64_t lines) {
  if (!isOn_ || lines % kLinesBetweenLooks != 0) return;
  const auto now = Clock::now();
  if (now < next_) return;
  next_ = now + kPeriod;
  isShown_ = true;
  terminal_ << kEraseLine << lines << " lines" << std::flush;
}

void SimulationProgress::clear() {
  if (!isShown_) return;
  isShown_ = false;
  terminal_ << kEraseLine << std::flush;
}

}  // namespace kaleo::tools
