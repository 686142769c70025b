#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "kaleo/KLClock.h"
#include "kaleo/KLDecision.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLHost.h"
#include "kaleo/KLPopupOutcome.h"
#include "kaleo/KLQueue.h"
#include "kaleo/KLValue.h"

namespace kaleo {

inline constexpr const char* kKLDiagnostorIdentifier = "Kaleo_CampaignDiagnostor";
inline constexpr const char* kQuillonDiagnosticDatabaseNameJourneys = "QuillonDiagnosticJourneys";
inline constexpr const char* kQuillonDiagnosticInfoKeyMessage = "message";
inline constexpr const char* kQuillonDiagnosticInfoKeyCampaignId = "campaign_id";
inline constexpr const char* kQuillonDiagnosticInfoKeyWindowStart = "window_start";
inline constexpr const char* kQuillonDiagnosticInfoKeyWindowEnd = "window_end";

/// The recorder of decisions: told of each plan that did not show why it did not. Optional: without one every decision is the same
/// and nothing is recorded. Port. Times in records are whole milliseconds since 1970.
/// Threads: the library's worker, but `verifyDatabaseFile`, which may come from another thread of the library. One call at a time.
/// The worker waits for each call, so a recorder with more to do than to take note does it elsewhere.
///
/// The simple recorder takes each record through `addContent`, at the moment of its decision and built on the worker. The quick one
/// answers true to `wantsBatches` and copies the numbers that `addDecisions` hands over once for each event; it has the contents
/// built where and when it likes, or never.
class KALEO_API KLDiagnosis {
 public:
  virtual ~KLDiagnosis() = default;
  KLDiagnosis(const KLDiagnosis&) = delete;
  KLDiagnosis& operator=(const KLDiagnosis&) = delete;

  /// Records older than this may be discarded.
  virtual void setDiagnosisExpiration(double seconds) = 0;
  /// Registers this library with the recorder, under kKLDiagnostorIdentifier. Once, during the start.
  virtual void addDiagnostor() = 0;
  /// `content` is an object with at least kQuillonDiagnosticInfoKeyMessage.
  virtual void addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) = 0;
  /// The same about the plan with the id `entityId`.
  virtual void addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state, KLDiagnosisType type) = 0;
  /// Whether the decisions about one event come together. Asked once, before any comes.
  virtual bool wantsBatches() const { return false; }
  /// Decisions about plans, in the order in which they were made: all those about one event, or about the plans of one
  /// configuration; just one where batches are not wanted. Gives each to `addContent` unless overridden. Other records come through
  /// `addContent` in any case. Lifetime: the context may be moved from, the decisions are lent for the call; copies of both stay
  /// good.
  virtual void addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions);
  /// Decides by the configuration's condition whether and what to upload; null: the configuration had none.
  virtual void flushWithCondition(const KLValue* condition) = 0;
  virtual void saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& entityId) = 0;
  virtual void saveUserId(const std::string& userId, const std::string& distinctId) = 0;
  virtual void verifyDatabaseFile(const std::string& path) = 0;
  /// What became of a popup after the record with the state `Finished` of its plan: that it is shown and, later, that it has
  /// ended; or that it failed or was handed over. Test popups are left out. Ignored unless overridden.
  virtual void addOutcome(const KLPopupOutcome& outcome) { (void)outcome; }

 protected:
  KLDiagnosis() = default;
};

/// What a library gives to its recorder. Lifetime: what is borrowed outlives the recorder.
struct KLDiagnosisSurroundings {
  KLThreading& threading;
  const KLClock& clock;
  KLRandom& random;
  const KLHostRegistry& host;
  std::string documents;  ///< directory for the database; empty: there is none
  std::string library;    ///< directory of the key file
  /// Posts `page`, an object, to the popup server and tells `done` whether the server took it. `done` comes on any thread, or not
  /// at all when the library ends first.
  std::function<void(const KLValue& page, std::function<void(bool accepted)> done)> upload;
};

/// Makes the recorder of one library. Called during its start, on its trigger queue; may touch the disk. Null: none can be made.
using KLMakeDiagnosis = std::function<std::shared_ptr<KLDiagnosis>(const KLDiagnosisSurroundings&)>;

}  // namespace kaleo
