#pragma once

#include <memory>
#include <string>
#include <utility>

#include "kaleo/KLDiagnosis.h"

namespace kaleo {

/// Hands everything on to a recorder of the host's, and keeps what that throws from the decisions. Threads: as the recorder's.
class KLGuardedDiagnosis final : public KLDiagnosis {
 public:
  explicit KLGuardedDiagnosis(std::shared_ptr<KLDiagnosis> recorder) : recorder_(std::move(recorder)) {}

  void setDiagnosisExpiration(double seconds) override {
    guard([&] { recorder_->setDiagnosisExpiration(seconds); });
  }
  void addDiagnostor() override {
    guard([&] { recorder_->addDiagnostor(); });
  }
  void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) override {
    guard([&] { recorder_->addContent(content, state, type); });
  }
  void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) override {
    guard([&] { recorder_->addContent(content, entityId, state, type); });
  }
  bool wantsBatches() const override {
    bool wants = false;
    guard([&] { wants = recorder_->wantsBatches(); });
    return wants;
  }
  void addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) override {
    guard([&] { recorder_->addDecisions(std::move(context), decisions); });
  }
  void flushWithCondition(const KLValue* condition) override {
    guard([&] { recorder_->flushWithCondition(condition); });
  }
  void saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& entityId) override {
    guard([&] { recorder_->saveJourneyId(journeyId, userId, entityId); });
  }
  void saveUserId(const std::string& userId, const std::string& distinctId) override {
    guard([&] { recorder_->saveUserId(userId, distinctId); });
  }
  void verifyDatabaseFile(const std::string& path) override {
    guard([&] { recorder_->verifyDatabaseFile(path); });
  }
  void addOutcome(const KLPopupOutcome& outcome) override {
    guard([&] { recorder_->addOutcome(outcome); });
  }

 private:
  template <class Call>
  static void guard(Call call) {
    try {
      call();
    } catch (...) {  // the record is lost, the decision stands
    }
  }

  const std::shared_ptr<KLDiagnosis> recorder_;
};

}  // namespace kaleo
