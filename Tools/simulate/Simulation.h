#pragma once

#include <csignal>
#include <filesystem>
#include <ostream>
#include <string>

namespace kaleo::tools {

/// What `kaleo simulate` is asked for.
struct SimulationArguments {
  std::string events;            ///< file of JSON lines; "-": standard input
  std::string timeZone;          ///< IANA name; empty: the machine's
  double onScreenSeconds = 0;    ///< how long each popup shows; finite, not negative
  std::filesystem::path store;   ///< file that keeps the state; empty: nothing is kept
  bool summary = false;          ///< a table instead of the lines
  std::filesystem::path report;  ///< file for a page of HTML beside the output; empty: none is made
};

/// Where it speaks. An `out` that cannot be written ends the run; the caller says so. Lifetime: borrowed.
struct SimulationOutput {
  std::ostream& out;
  std::ostream& err;
  bool isTerminal = false;  ///< whether `err` is one: a long run then shows its progress there
  /// Where the number of a signal appears that ends the run early; 0 before. Null: there is none.
  const volatile std::sig_atomic_t* signal = nullptr;
  bool coloured = false;  ///< whether `out` shows colours
};

/// The exit statuses.
inline constexpr int kSimulated = 0;
inline constexpr int kSomeLinesBad = 1;
inline constexpr int kCannotSimulate = 2;
inline constexpr int kSimulationSignalled = 128;  ///< plus the signal's number, as a shell says it; the store stays as it was

/// Runs a recorded stream through the library in virtual time, prints what was decided, and answers the exit status.
int simulate(const SimulationArguments& arguments, const SimulationOutput& output);

}  // namespace kaleo::tools
