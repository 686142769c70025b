#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "kaleo/KLValue.h"

namespace kaleo {

inline constexpr const char* kKLDiagnostorIdentifier = "Kaleo_CampaignDiagnostor";
inline constexpr const char* kQuillonDiagnosticDatabaseNameJourneys = "QuillonDiagnosticJourneys";
inline constexpr const char* kQuillonDiagnosticInfoKeyMessage = "message";
inline constexpr const char* kQuillonDiagnosticInfoKeyCampaignId = "campaign_id";
inline constexpr const char* kQuillonDiagnosticInfoKeyWindowStart = "window_start";
inline constexpr const char* kQuillonDiagnosticInfoKeyWindowEnd = "window_end";

/// Why a record was written.
enum class KLDiagnosisState : int {
  ConfigFetched = 1,
  PlanFiltered = 2,
  NotConverted = 3,
  GlobalInterval = 4,
  PlanInterval = 5,
  Pattern = 6,
  GlobalLimit = 7,
  ReEnterLimit = 8,
  LowerPriority = 9,
  Finished = 10,
};

/// What kind of step a record belongs to.
enum class KLDiagnosisType : int { Config = 0, Trigger = 1 };

/// The recorder of decisions. Optional: without one every decision is the same and nothing is recorded. Port.
/// Threads: the trigger queue, but `verifyDatabaseFile`, which comes from the thread that makes the data store, and
/// `saveUserId` and the configuration's record, which may come from the network's thread while the trigger queue waits.
class KLDiagnosis {
 public:
  virtual ~KLDiagnosis() = default;
  virtual void setDiagnosisExpiration(double seconds) = 0;
  /// Registers this library with the recorder, under kKLDiagnostorIdentifier.
  virtual void addDiagnostor() = 0;
  virtual void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) = 0;
  virtual void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) = 0;
  /// Decides by the configuration's condition whether and what to upload; null: the configuration had none.
  virtual void flushWithCondition(const KLValue* condition) = 0;
  virtual void saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& entityId) = 0;
  virtual void saveUserId(const std::string& userId, const std::string& distinctId) = 0;
  virtual void verifyDatabaseFile(const std::string& path) = 0;
};

/// The place of one library's recorder, empty until (and unless) one is made.
/// Threads: set once during start, read from any thread.
class KLDiagnosisSlot {
 public:
  /// The recorder or null: build a record only when there is one.
  KLDiagnosis* get() const { return recorder_.load(std::memory_order_acquire); }
  void set(std::shared_ptr<KLDiagnosis> recorder) {
    owner_ = std::move(recorder);
    recorder_.store(owner_.get(), std::memory_order_release);
  }

 private:
  std::shared_ptr<KLDiagnosis> owner_;
  std::atomic<KLDiagnosis*> recorder_{nullptr};
};

/// Seconds since 1970 as the whole milliseconds that records carry, within what 64 bits hold.
inline std::int64_t KLMilliseconds(double seconds) { return KLValue(seconds * 1000).asInteger(); }

}  // namespace kaleo
