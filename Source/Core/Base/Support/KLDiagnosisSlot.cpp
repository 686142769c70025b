#include "Core/Base/Support/KLDiagnosisSlot.h"

#include <utility>

namespace kaleo {
namespace {

/// Decisions for which there is room from the start.
constexpr std::size_t kReserved = 64;

KLValue memberOf(const KLValue& event, std::string_view key) {
  const KLValue* const member = event.find(key);
  return member ? *member : KLValue();
}

}  // namespace

void KLDiagnosisSlot::set(std::shared_ptr<KLDiagnosis> recorder) {
  wantsBatches_ = recorder && recorder->wantsBatches();
  if (recorder) decisions_.reserve(kReserved);
  std::swap(owner_, recorder);  // the one before is let go when nobody can find it any more
  recorder_.store(owner_.get(), std::memory_order_release);
}

void KLDiagnosisSlot::open(const KLValue* event, const KLValue* eventName) {
  event_ = event;
  eventName_ = eventName;
  collects_ = wantsBatches_;
}

void KLDiagnosisSlot::close() {
  handOver();
  event_ = nullptr;
  collects_ = false;
}

void KLDiagnosisSlot::handOver() {
  if (decisions_.empty()) return;
  if (event_) {
    context_.eventName = eventName_ ? *eventName_ : memberOf(*event_, "event");
    context_.trackId = memberOf(*event_, "track_id");
    context_.hostTrackId = memberOf(*event_, "_track_id");
  }
  if (KLDiagnosis* const recorder = get()) recorder->addDecisions(context_, decisions_);
  decisions_.clear();
  context_ = {};
}

}  // namespace kaleo
