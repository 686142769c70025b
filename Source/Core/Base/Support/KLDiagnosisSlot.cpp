#include "Core/Base/Support/KLDiagnosisSlot.h"

#include <utility>

namespace kaleo {
namespace {

/// Decisions for which there is room from the start.
constexpr std::size_t kReserved = 64;

}  // namespace

void KLDiagnosisSlot::set(std::shared_ptr<KLDiagnosis> recorder) {
  wantsBatches_ = recorder && recorder->wantsBatches();
  if (recorder) decisions_.reserve(kReserved);
  std::swap(owner_, recorder);  // the one before is let go when nobody can find it any more
  recorder_.store(owner_.get(), std::memory_order_release);
}

void KLDiagnosisSlot::open(double time, KLValue* event) {
  time_ = time;
  event_ = event;
  collects_ = wantsBatches_;
}

void KLDiagnosisSlot::close() {
  if (!decisions_.empty()) handOver(event_ ? std::move(*event_) : KLValue());
  time_ = 0;
  event_ = nullptr;
  collects_ = false;
}

void KLDiagnosisSlot::handOver() {
  if (!decisions_.empty()) handOver(event_ ? KLValue(*event_) : KLValue());
}

void KLDiagnosisSlot::handOver(KLValue&& event) {
  KLDecisionContext context = std::move(context_);  // which is empty then
  context.time = time_;
  context.event = std::move(event);
  if (KLDiagnosis* const recorder = get()) recorder->addDecisions(std::move(context), decisions_);
  decisions_.clear();
}

}  // namespace kaleo
