#include "simulate/SimulationStep.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "Foundation/KLJSON.h"
#include "json/JSONFault.h"

namespace kaleo::tools {
namespace {

using Operation = SimulationStep::Operation;

constexpr std::array kOperations = {Operation::Config, Operation::Track, Operation::Convert, Operation::User};
constexpr const char* kDateKey = "$date";

bool isNumber(const KLValue* value) { return value && (value->isInteger() || value->isDouble()); }

std::optional<KLDate> dateOf(const KLObject& object) {
  if (object.size() != 1) return std::nullopt;
  const KLValue* const seconds = object.find(kDateKey);
  return isNumber(seconds) ? std::optional(KLDate{seconds->asDouble()}) : std::nullopt;
}

std::optional<KLValue> withDates(const KLValue& value);

/// The properties of an event, or an object within them; nothing when there are no dates in it, as in most.
std::optional<KLValue> membersWithDates(const KLObject& object) {
  std::optional<KLObject> changed;
  for (const auto& [key, member] : object) {
    auto dated = withDates(member);
    if (!dated) continue;
    if (!changed) changed = object;
    changed->set(key, std::move(*dated));
  }
  return changed ? std::optional<KLValue>(std::move(*changed)) : std::nullopt;
}

std::optional<KLValue> elementsWithDates(const KLValue::Array& array) {
  std::optional<KLValue::Array> changed;
  for (std::size_t i = 0; i < array.size(); ++i) {
    auto dated = withDates(array[i]);
    if (!dated) continue;
    if (!changed) changed = array;
    (*changed)[i] = std::move(*dated);
  }
  return changed ? std::optional<KLValue>(std::move(*changed)) : std::nullopt;
}

std::optional<KLValue> withDates(const KLValue& value) {
  if (value.isArray()) return elementsWithDates(value.asArray());
  if (!value.isObject()) return std::nullopt;
  if (const auto date = dateOf(value.asObject())) return KLValue(*date);
  return membersWithDates(value.asObject());
}

KLValue recordWithDates(const KLValue& record) {
  const KLValue* const properties = record.find("properties");
  auto dated = properties && properties->isObject() ? membersWithDates(properties->asObject()) : std::nullopt;
  if (!dated) return record;
  KLObject changed = record.asObject();
  changed.set("properties", std::move(*dated));
  return changed;
}

/// What is wrong with an operation's argument; "" when nothing is.
std::string faultOf(Operation operation, const KLValue& argument) {
  if (!argument.isObject()) return fmt::format("\"{}\" is no object", nameOf(operation));
  if (operation == Operation::User) {
    const KLValue* const distinctId = argument.find("distinct_id");
    if (!distinctId || !distinctId->isString()) return "\"user\" has no text \"distinct_id\"";
  }
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
  KLError error;
  const auto line = KLJSON::parse(text, &error);
  if (!line) {
    const auto found = findJSONFault(text);
    fault = found ? fmt::format("column {}: {}", found->column, found->message) : error.localizedDescription;
    return std::nullopt;
  }
  SimulationStep step;
  const KLValue* const at = line->find("at");
  if (!line->isObject()) {
    fault = "this is no object";
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
