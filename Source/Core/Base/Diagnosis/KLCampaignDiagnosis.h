#pragma once

#include <memory>
#include <string>

#include "kaleo/KLDiagnosis.h"

namespace kaleo {

/// The recorder of decisions that keeps them in the database "QuillonDiagnosticJourneys" and uploads what the server asks for.
///
/// The decisions about an event cost their caller a copy of their numbers, and never a wait; a queue of its own builds the records
/// and writes them once a second, or sooner when they are many, in transactions of a bounded size. When more waits than a disk at a
/// standstill lets through, records are dropped and counted in the log. The records of an orderly end are written. Threads: as
/// KLDiagnosis says, the destructor not on the recorder's queue. Lifetime: borrows the surroundings.
class KLCampaignDiagnosis final : public KLDiagnosis {
 public:
  static constexpr double kWriteDelay = 1;     ///< seconds from the first record of a batch to its writing
  static constexpr std::size_t kBatch = 2000;  ///< records that are written without further waiting
  static constexpr std::size_t kMaxWaiting = 50'000;
  static constexpr double kSweepInterval = 3600;  ///< seconds between two deletions of what has expired

  /// Loads or makes the key file when the host has a store plugin; the database is opened on the queue.
  explicit KLCampaignDiagnosis(const KLDiagnosisSurroundings& surroundings, std::string databaseVFS = {});
  ~KLCampaignDiagnosis() override;

  /// The file in the directory of documents.
  static std::string databaseFileName() { return std::string(kQuillonDiagnosticDatabaseNameJourneys) + ".sqlite"; }

  void setDiagnosisExpiration(double seconds) override;
  void addDiagnostor() override;
  void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) override;
  void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) override;
  bool wantsBatches() const override { return true; }
  void addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) override;
  void flushWithCondition(const KLValue* condition) override;
  void saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& entityId) override;
  /// From now on records are about this user.
  void saveUserId(const std::string& userId, const std::string& distinctId) override;
  void verifyDatabaseFile(const std::string& path) override;
  /// Keeps it among the decisions, but never uploads it.
  void addOutcome(const KLPopupOutcome& outcome) override;

 private:
  class State;
  std::shared_ptr<State> state_;
};

}  // namespace kaleo
