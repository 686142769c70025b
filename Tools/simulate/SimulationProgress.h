#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>

namespace kaleo::tools {

/// Shows on a terminal how far a run is, once it takes long enough for anyone to wonder. Threads: one.
class SimulationProgress {
 public:
  SimulationProgress(std::ostream& terminal, bool isOn) : terminal_(terminal), isOn_(isOn) {}
  ~SimulationProgress() { clear(); }
  SimulationProgress(const SimulationProgress&) = delete;
  SimulationProgress& operator=(const SimulationProgress&) = delete;

  /// After each line.
  void handled(std::uint64_t lines);
  /// Takes the display away, before anything else is written there.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::uint64_t kLinesBetweenLooks = 64;  ///< a look at the clock costs as much as a cheap line
  static constexpr std::chrono::milliseconds kFirst{1000}, kPeriod{200};

  std::ostream& terminal_;
  const bool isOn_;
  bool isShown_ = false;
  Clock::time_point next_ = Clock::now() + kFirst;
};

}  // namespace kaleo::tools
