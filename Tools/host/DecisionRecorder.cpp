#include "host/DecisionRecorder.h"

namespace kaleo::tools {
namespace {

KLValue withoutConfig(const KLValue& content) {
  KLObject rest = content.asObject();
  rest.erase("config");
  return rest;
}

}  // namespace

KLValue DecisionRecord::value() const {
  return KLObject{{"state", static_cast<int>(state)},
                  {"type", static_cast<int>(type)},
                  {"entity_id", entityId ? KLValue(*entityId) : KLValue()},
                  {"content", content}};
}

void DecisionRecorder::addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) {
  sink_({state, type, std::nullopt, state == KLDiagnosisState::ConfigFetched ? withoutConfig(content) : content});
}

void DecisionRecorder::addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state,
                                  KLDiagnosisType type) {
  sink_({state, type, entityId, content});
}

}  // namespace kaleo::tools
