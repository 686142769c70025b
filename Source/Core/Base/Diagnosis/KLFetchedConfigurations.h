#pragma once

#include <string>
#include <vector>

#include "Core/Base/Diagnosis/KLDiagnosisRecord.h"

namespace kaleo {

/// Which configuration was kept last. A server tells the same one again and again: it is kept once a day, or when another user
/// gets it, and the records in between refer to it. Threads: one at a time.
class KLFetchedConfigurations {
 public:
  static constexpr std::int64_t kKeptFor = 86'400'000;  ///< milliseconds

  /// Takes the configurations that are kept already out of those of `records` that were written by a fetch.
  void leaveOutKnown(std::vector<KLDiagnosisRecord>& records);
  /// The records of the last call were not kept.
  void forget() { last_.clear(); }

 private:
  bool isKnown(const KLDiagnosisRecord& record, const KLValue& config);

  std::string last_;  ///< digest of the configuration and of whom it is for; empty: none
  std::int64_t time_ = 0;
};

}  // namespace kaleo
