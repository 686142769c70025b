#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"
#include "simulate/SimulationSummary.h"
#include "simulate/Simulator.h"

namespace kaleo::tools {

/// Makes one page of HTML of a run, which needs nothing but itself: what became of the events at each plan, what held plans back
/// and when, the popups with the windows that they opened, and the decisions with filters. Threads: one.
class SimulationPage {
 public:
  /// The first so many are kept; the page says when there were more. Counts are of all.
  static constexpr std::size_t kMaxDecisions = 20000, kMaxPopups = 5000;
  /// So many verdicts on single plans are listed, which keeps the page within some 15 megabytes.
  static constexpr std::size_t kMaxVerdicts = 500000;

  /// After the event of input line `line`; `result` carries verdicts and windows.
  void tracked(std::uint64_t line, const SimulationResult& result);

  /// `source`: what the stream is called; `timeZone`: name of the run's.
  std::string html(const std::string& source, const std::string& timeZone, const SimulationSummary& summary) const;

 private:
  /// What became of events within one hour, by verdict.
  struct Hour {
    double start = 0;  ///< seconds since 1970
    std::array<std::int64_t, kVerdicts> counts{};
  };

  void count(double at, const std::vector<PlanVerdict>& verdicts);

  KLValue::Array decisions_, popups_;
  std::vector<Hour> hours_;   ///< those with events, in order
  std::size_t verdicts_ = 0;  ///< within decisions_
  double from_ = 0, to_ = 0;
};

}  // namespace kaleo::tools
