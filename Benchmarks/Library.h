#pragma once

#include <memory>
#include <span>
#include <string>

#include "Core/Base/Trigger/KLTrigger.h"
#include "FloorMatcher.h"
#include "Foundation/KLSystem.h"
#include "Foundation/KLThreads.h"
#include "Support/FakeHTTPSession.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::bench {

/// A host logger that takes every line and keeps none.
class CountingLog : public NBLog {
 public:
  void log(bool, const std::string& message, int, const char*, const char*, int, int) override { bytes += message.size(); }
  std::size_t bytes = 0;
};

/// A recorder that takes every record and keeps none: in batches, which builds nothing, or each with its content.
class CountingDiagnosis : public KLDiagnosis {
 public:
  explicit CountingDiagnosis(bool inBatches) : inBatches_(inBatches) {}
  bool wantsBatches() const override { return inBatches_; }
  void addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) override {
    if (!inBatches_) return KLDiagnosis::addDecisions(std::move(context), decisions);
    records += decisions.size();
  }
  void setDiagnosisExpiration(double) override {}
  void addDiagnostor() override {}
  void addContent(const KLValue&, KLDiagnosisState, KLDiagnosisType) override { ++records; }
  void addContent(const KLValue&, const std::string&, KLDiagnosisState, KLDiagnosisType) override { ++records; }
  void flushWithCondition(const KLValue*) override {}
  void saveJourneyId(const std::string&, const std::string&, const std::string&) override {}
  void saveUserId(const std::string&, const std::string&) override {}
  void verifyDatabaseFile(const std::string&) override {}
  std::size_t records = 0;

 private:
  const bool inBatches_;
};

/// Real threads whose last queue can be waited for.
class RecorderThreads final : public KLThreading {
 public:
  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override {
    auto queue = threads_.makeSerialQueue(std::move(label));
    queue_ = queue;
    return queue;
  }
  std::shared_ptr<KLQueue> backgroundQueue() override { return threads_.backgroundQueue(); }
  std::unique_ptr<KLWakeUp> makeWakeUp() override { return threads_.makeWakeUp(); }
  void wait() const {
    if (const auto queue = queue_.lock()) queue->sync([] {});
  }

 private:
  KLThreadThreading threads_;
  std::weak_ptr<KLQueue> queue_;
};

enum class Recorder : std::uint8_t { None, Batches, Contents };

/// A trigger with plans in force over the real store, in a temporary directory. Queues run when `writeStore` says so; all on the
/// calling thread, so that what is timed is the trigger queue's own work.
///
/// Every plan has used up its re-entries: an event goes through all checks of every plan that listens to it, is counted and saved
/// by those it matches, and shows no popup.
class Library {
 public:
  explicit Library(const KLValue& answer);
  ~Library() { threads_.run(); }

  /// What is seen of the work from outside; both are off at first.
  void setObservers(Recorder recorder, bool logger);

  /// Records every decision as libkaleo-diagnosis does it, with its queue on a thread of its own, so that this one's caches stay
  /// its own, too. `writeStore` waits for it.
  void recordDecisions(bool on);
  /// Gives such a recorder what these events would, `decisions` each that a plan needs, without the trigger's doing.
  void recordAside(std::span<const KLValue> events, std::size_t decisions);

  /// Matching alone, by the library's rules.
  Matched match(const KLValue& event);
  void trigger(const KLValue& event) { trigger_->triggerEvent(event, clock_.now()); }
  /// Does the work that was queued for the store's own thread.
  void writeStore() {
    threads_.run();
    for (const auto& recorder : {recorder_, aside_}) {
      if (recorder) recorder->verifyDatabaseFile({});  // what waits is written before it
    }
    recorderThreads_.wait();
  }

 private:
  std::shared_ptr<KLDiagnosis> makeDiagnosis();
  void useUpReEntries(const KLPopupConfig& config);
  /// For the cap on all popups: those shown before.
  void saveDisplayTimes();

  TemporaryDirectory directory_;
  testing::ManualThreading threads_;
  RecorderThreads recorderThreads_;
  testing::ManualThreading::Clock clock_{threads_};
  KLHostRegistry registry_;
  KLLog log_{registry_};
  NBBridge bridge_{registry_, log_};
  KLStoreManager hostStore_{registry_};
  KLCalendar monday_{"Asia/Shanghai", KLWeekday::Monday};
  KLCalendar sunday_{"Asia/Shanghai", KLWeekday::Sunday};
  KLPlanTime time_{clock_, monday_, sunday_};
  KLSystemRandom random_;
  KLNotificationCenter notifications_;
  testing::FakeHTTPSession session_;
  KLNetwork network_{session_, log_, random_};
  KLCurrentUser user_;
  KLDiagnosisSlot diagnosis_;
  std::shared_ptr<KLDiagnosis> recorder_, aside_;
  KaleoDataStore store_;
  std::unique_ptr<KLTrigger> trigger_;
};

/// The library with `answer(plans, usesGlobalLimit)`. Made at the first call and kept.
Library& library(std::size_t plans, bool usesGlobalLimit = false);

}  // namespace kaleo::bench
