#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLDiagnosis.h"

namespace kaleo::tools {

/// A recorder of decisions that keeps the records of one line. Threads: one.
class SimulationRecorder final : public KLDiagnosis {
 public:
  struct Record {
    KLDiagnosisState state;
    KLDiagnosisType type;
    std::optional<std::string> entityId;
    KLValue content;  ///< without the configuration, which the stream holds already
  };
  using Records = std::vector<Record>;

  /// The records since the last call.
  Records take() { return std::exchange(records_, {}); }

  void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) override;
  void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) override;

  void setDiagnosisExpiration(double) override {}
  void addDiagnostor() override {}
  void flushWithCondition(const KLValue*) override {}
  void saveJourneyId(const std::string&, const std::string&, const std::string&) override {}
  void saveUserId(const std::string&, const std::string&) override {}
  void verifyDatabaseFile(const std::string&) override {}

 private:
  Records records_;
};

}  // namespace kaleo::tools
