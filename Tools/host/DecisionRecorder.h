#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLDiagnosis.h"

namespace kaleo::tools {

/// One record of a decision of the library.
struct DecisionRecord {
  KLDiagnosisState state;
  KLDiagnosisType type;
  std::optional<std::string> entityId;
  KLValue content;  ///< without the configuration, which whoever reads the records has

  /// As the tools print it: an object with "state", "type", "entity_id" and "content".
  KLValue value() const;
};
using DecisionRecords = std::vector<DecisionRecord>;

/// A recorder that hands each record on. Threads: those of the port.
class DecisionRecorder final : public KLDiagnosis {
 public:
  using Sink = std::function<void(DecisionRecord record)>;

  explicit DecisionRecorder(Sink sink) : sink_(std::move(sink)) {}

  void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) override;
  void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) override;

  void setDiagnosisExpiration(double) override {}
  void addDiagnostor() override {}
  void flushWithCondition(const KLValue*) override {}
  void saveJourneyId(const std::string&, const std::string&, const std::string&) override {}
  void saveUserId(const std::string&, const std::string&) override {}
  void verifyDatabaseFile(const std::string&) override {}

 private:
  const Sink sink_;
};

}  // namespace kaleo::tools
