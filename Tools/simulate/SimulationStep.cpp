#include "simulate/SimulationStep.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "lines/EventLine.h"

namespace kaleo::tools {
namespace {

using Operation = SimulationStep::Operation;

constexpr std::array kOperations = {Operation::Config, Operation::Track, Operation::Convert, Operation::User};

/// What is wrong with an operation's argument; "" when nothing is.
std::string faultOf(Operation operation, const KLValue& argument) {
  if (operation == Operation::User) return faultOfUser(argument);
  if (!argument.isObject()) return fmt::format("\"{}\" is no object", nameOf(operation));
  if (operation == Operation::Convert) {
    const KLValue* const planId = argument.find("plan_id");
    if (!planId || planId->isNull()) return "\"convert\" has no \"plan_id\"";
  }
  return "";
}

/// Finds the one operation of a line.
std::string findOperation(const KLValue& line, SimulationStep& step) {
  std::size_t found = 0;
  for (const Operation operation : kOperations) {
    const KLValue* const argument = line.find(nameOf(operation));
    if (!argument) continue;
    ++found;
    step.operation = operation;
    step.argument = *argument;
  }
  if (found == 0) return R"(none of "config", "track", "convert" and "user" is there)";
  if (found > 1) return R"(more than one of "config", "track", "convert" and "user" is there)";
  return faultOf(step.operation, step.argument);
}

}  // namespace

const char* nameOf(Operation operation) {
  switch (operation) {
    case Operation::Config:
      return "config";
    case Operation::Track:
      return "track";
    case Operation::Convert:
      return "convert";
    case Operation::User:
      return "user";
  }
  return "";
}

std::optional<SimulationStep> parseSimulationStep(std::string_view text, std::string& fault) {
  const auto line = parseObjectLine(text, fault);
  if (!line) return std::nullopt;
  SimulationStep step;
  const KLValue* const at = line->find("at");
  if (line->find("popup_plans")) {
    fault = R"(this is a configuration alone; write it as {"at": SECONDS, "config": {...}} in one line)";
  } else if (!isNumber(at) || !std::isfinite(at->asDouble())) {
    fault = "\"at\" is no finite number";
  } else {
    step.at = at->asDouble();
    fault = findOperation(*line, step);
  }
  if (!fault.empty()) return std::nullopt;
  if (step.operation == Operation::Track) step.argument = recordWithDates(step.argument);
  return step;
}

}  // namespace kaleo::tools
