#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// One line of a recorded stream.
struct SimulationStep {
  enum class Operation { Config, Track, Convert, User };

  double at = 0;  ///< seconds since 1970; finite
  Operation operation = Operation::Track;
  /// The operation's object. In the properties of a "track" every object of the single key "$date" with a number is a date already,
  /// at any depth.
  KLValue argument;
};

/// The key of an operation in a line, which is also its name in the output.
const char* nameOf(SimulationStep::Operation operation);

/// Reads one line. On failure answers nothing and `fault` says why, for people.
std::optional<SimulationStep> parseSimulationStep(std::string_view line, std::string& fault);

}  // namespace kaleo::tools
