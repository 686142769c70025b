#include "simulate/SimulationReport.h"

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

KLValue orNull(const std::optional<std::string>& text) { return text ? KLValue(*text) : KLValue(); }

KLValue arrayOf(const std::vector<std::string>& texts) { return KLValue::Array(texts.begin(), texts.end()); }

KLValue arrayOf(const DecisionRecords& records) {
  KLValue::Array array;
  array.reserve(records.size());
  for (const auto& record : records) array.push_back(record.value());
  return array;
}

}  // namespace

std::string reportOf(std::uint64_t line, const SimulationStep& step, const SimulationResult& result) {
  KLObject report{{"line", static_cast<std::int64_t>(line)}, {"op", nameOf(step.operation)}, {"at", result.at}};
  if (step.operation == SimulationStep::Operation::Config) report.set("plans", arrayOf(result.plans));
  if (step.operation == SimulationStep::Operation::Track) {
    report.set("event", orNull(result.event));
    report.set("shown", orNull(result.shown));
  }
  report.set("records", arrayOf(result.records));
  return KLJSON::serialize(std::move(report));
}

}  // namespace kaleo::tools
