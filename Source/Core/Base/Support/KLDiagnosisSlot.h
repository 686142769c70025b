#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "kaleo/KLDiagnosis.h"

namespace kaleo {

/// The place of one library's recorder, empty until (and unless) one is made, and the decisions on their way to it.
/// Threads: set once during start; `get` from any thread, the rest on the trigger queue.
class KLDiagnosisSlot {
 public:
  /// The recorder or null: make a decision's record only when there is one.
  KLDiagnosis* get() const { return recorder_.load(std::memory_order_acquire); }
  void set(std::shared_ptr<KLDiagnosis> recorder);

  /// Records a decision. Only while there is a recorder.
  void add(const KLDecision& decision) {
    decisions_.push_back(decision);
    if (!collects_) handOver();
  }
  /// What the decisions of now have in common; to be filled in before they are added.
  KLDecisionContext& context() { return context_; }
  /// Gives the recorder what has been collected.
  void handOver();

 private:
  friend class KLDecisionBatch;

  void open(double time, KLValue* event);
  void close();
  void handOver(KLValue&& event);

  std::shared_ptr<KLDiagnosis> owner_;
  std::atomic<KLDiagnosis*> recorder_{nullptr};
  bool wantsBatches_ = false;
  bool collects_ = false;     ///< a batch is open, and wanted
  double time_ = 0;           ///< when what is decided about was looked at, in seconds since 1970
  KLValue* event_ = nullptr;  ///< the record of the event that is decided about
  KLDecisionContext context_;
  std::vector<KLDecision> decisions_;
};

/// While it lives, the decisions that are made are about one event, and go to the recorder together at its end.
/// Lifetime: borrows what it is given. Batches do not nest.
class KLDecisionBatch {
 public:
  /// `now`: seconds since 1970. `event`: its record, which may be moved from at the end; null: the decisions are about no event.
  KLDecisionBatch(KLDiagnosisSlot& slot, double now, KLValue* event) : slot_(slot.get() ? &slot : nullptr) {
    if (slot_) slot_->open(now, event);
  }
  ~KLDecisionBatch() {
    if (slot_) slot_->close();
  }
  KLDecisionBatch(const KLDecisionBatch&) = delete;
  KLDecisionBatch& operator=(const KLDecisionBatch&) = delete;

 private:
  KLDiagnosisSlot* const slot_;
};

/// Seconds since 1970 as the whole milliseconds that records carry, within what 64 bits hold.
inline std::int64_t KLMilliseconds(double seconds) { return KLValue(seconds * 1000).asInteger(); }

}  // namespace kaleo
