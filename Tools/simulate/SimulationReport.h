#pragma once

#include <cstdint>
#include <string>

#include "simulate/SimulationStep.h"
#include "simulate/Simulator.h"

namespace kaleo::tools {

/// The output line (JSON, without a line feed) for input line `line`, counted from 1. Pure.
std::string reportOf(std::uint64_t line, const SimulationStep& step, const SimulationResult& result);

}  // namespace kaleo::tools
