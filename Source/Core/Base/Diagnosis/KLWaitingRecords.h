#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "Core/Base/Diagnosis/KLDiagnosisRecord.h"

namespace kaleo {

/// Decisions and records that wait to be written, in the order of their coming. Taking a decision in copies its numbers, in
/// half a cache line mostly, as lists grow long; `records` builds what is written. Threads: one at a time.
class KLWaitingRecords {
 public:
  /// How many records wait.
  std::size_t size() const { return size_; }

  /// Decisions of one moment about one user, who may be null for now. `time`: milliseconds since 1970.
  void add(std::int64_t time, const std::shared_ptr<const KLDiagnosisUser>& user, const KLDecisionContext& context,
           std::span<const KLDecision> decisions);
  /// A record that is built.
  void add(KLDiagnosisRecord record);
  /// Whom those are about that came without a user.
  void setMissingUser(const std::shared_ptr<const KLDiagnosisUser>& user);

  std::vector<KLDiagnosisRecord> records() const;
  /// Empties the list. Its memory stays for what comes, unless that is much.
  void clear();

 private:
  /// A decision without what most of them leave at 0.
  struct Line {
    std::int64_t planID;
    double windowStart, windowEnd;
    KLDecision::Kind kind;
    bool hasNumbers;  ///< the next in numbers_ are its
  };
  struct Numbers {
    std::int64_t count, limit, priority, chosenPlanID, chosenPriority;
  };

  /// What came together: decisions, or one record.
  struct Group {
    std::int64_t time = 0;
    std::shared_ptr<const KLDiagnosisUser> user = {};
    KLDecisionContext context = {};
    std::size_t decisions = 0;  ///< how many are its
    std::unique_ptr<KLDiagnosisRecord> record = {};
  };

  void add(const KLDecision& decision);

  std::vector<Group> groups_;
  std::vector<Line> lines_;  ///< of all groups, one after the other
  std::vector<Numbers> numbers_;
  std::size_t size_ = 0;
};

}  // namespace kaleo
