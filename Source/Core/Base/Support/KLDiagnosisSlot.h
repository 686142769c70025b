#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "kaleo/KLDiagnosis.h"

namespace kaleo {

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
