#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Core/Model/KLPopupConfig.h"
#include "simulate/PlanVerdicts.h"
#include "simulate/Simulator.h"

namespace kaleo::tools {

/// Counts what became of the events at each plan, for a table that people read. Threads: one.
class SimulationSummary {
 public:
  /// A plan.
  struct Row {
    std::string key;   ///< the plan's id in decimal
    std::string name;  ///< as configured
    std::int64_t priority = 0, id = 0;
    std::vector<std::string> listensTo;  ///< names of events, each once
    std::string displayTimes;            ///< for people; "" for any
    double expiresAt = 0;                ///< seconds since 1970; 0: the plan does not say
    bool timesChanged = false;           ///< whether an earlier configuration had another `displayTimes` or `expiresAt`
    std::string leftOut;                 ///< why the latest configuration's plan did not run; "" when it did
    std::array<std::uint64_t, kVerdicts> counts{};

    std::uint64_t count(Verdict verdict) const { return counts[static_cast<std::size_t>(verdict)]; }
    std::uint64_t events() const;
    std::uint64_t matched() const;
  };

  /// After a configuration: `configuration` is the one in force, `result` what came of it.
  void configured(const KLPopupConfig& configuration, const SimulationResult& result);
  void tracked(const SimulationResult& result);

  /// The table: a row for each plan that any configuration had, those of high priority first. Every event that a plan listened to
  /// counts in one column from "expired" to "shown", which follow the order of the checks; "matched" is what passed the pattern.
  /// `coloured`: for a terminal.
  std::string table(bool coloured) const;
  /// The plans in the order of the table. Valid until the next call that counts.
  std::vector<const Row*> rows() const;
  std::uint64_t events() const { return events_; }
  std::uint64_t popups() const { return popups_; }

 private:
  std::map<std::string, Row> rows_;  ///< by plan key
  std::uint64_t events_ = 0, popups_ = 0;
};

}  // namespace kaleo::tools
