#include "simulate/SimulationRecorder.h"

namespace kaleo::tools {
namespace {

KLValue withoutConfig(const KLValue& content) {
  KLObject rest = content.asObject();
  rest.erase("config");
  return rest;
}

}  // namespace

void SimulationRecorder::addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) {
  records_.push_back({state, type, std::nullopt, state == KLDiagnosisState::ConfigFetched ? withoutConfig(content) : content});
}

void SimulationRecorder::addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state,
                                    KLDiagnosisType type) {
  records_.push_back({state, type, entityId, content});
}

}  // namespace kaleo::tools
