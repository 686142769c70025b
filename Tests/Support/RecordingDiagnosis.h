#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Core/Base/Support/KLDiagnosisSlot.h"

namespace kaleo::testing {

/// A recorder that keeps the records for the test.
class RecordingDiagnosis : public KLDiagnosis {
 public:
  struct Record {
    KLDiagnosisState state;
    KLDiagnosisType type;
    std::optional<std::string> entityId;
    KLValue content;

    std::string message() const {
      const KLValue* const text = content.find("message");
      return text ? text->asString() : "";
    }
  };

  void setDiagnosisExpiration(double seconds) override { expiration = seconds; }
  void addDiagnostor() override { ++diagnostors; }
  void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) override {
    add({state, type, std::nullopt, content});
  }
  void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) override {
    add({state, type, entityId, content});
  }
  void flushWithCondition(const KLValue*) override { ++flushes; }
  void saveJourneyId(const std::string&, const std::string&, const std::string&) override {}
  void saveUserId(const std::string& userId, const std::string& distinctId) override { users.emplace_back(userId, distinctId); }
  void verifyDatabaseFile(const std::string& file) override { databaseFiles.push_back(file); }
  void addOutcome(const KLPopupOutcome& outcome) override {
    outcomes.push_back(outcome.planID + ": " + outcome.content().find("message")->asString());
  }

  std::vector<Record> records() const {
    std::lock_guard lock(mutex_);
    return records_;
  }
  /// "plan: message" of every record, in order.
  std::vector<std::string> story() const {
    std::vector<std::string> lines;
    for (const Record& record : records()) lines.push_back(record.entityId.value_or("-") + ": " + record.message());
    return lines;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    records_.clear();
  }

  double expiration = 0;
  int diagnostors = 0, flushes = 0;
  std::vector<std::pair<std::string, std::string>> users;
  std::vector<std::string> outcomes;  ///< "plan: message"
  std::vector<std::string> databaseFiles;

 private:
  void add(Record record) {
    std::lock_guard lock(mutex_);
    records_.push_back(std::move(record));
  }

  mutable std::mutex mutex_;
  std::vector<Record> records_;  ///< guarded by mutex_
};

/// A recorder of batches that builds nothing while it is called.
class BatchDiagnosis final : public RecordingDiagnosis {
 public:
  struct Batch {
    KLDecisionContext context;
    std::vector<KLDecision> decisions;
    std::vector<KLValue> contents;  ///< as they would have been built at once
  };

  bool wantsBatches() const override { return true; }
  void addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) override {
    Batch& batch = batches.emplace_back(Batch{context, {decisions.begin(), decisions.end()}, {}});
    for (const KLDecision& decision : decisions) batch.contents.push_back(decision.content(context));
    RecordingDiagnosis::addDecisions(std::move(context), decisions);
  }

  std::vector<Batch> batches;
};

}  // namespace kaleo::testing
