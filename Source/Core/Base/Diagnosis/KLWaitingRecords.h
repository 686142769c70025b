#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <variant>
#include <vector>

#include "Core/Base/Diagnosis/KLDiagnosisRecord.h"

namespace kaleo {

/// What has been recorded and not been written yet, in the order of its coming.
///
/// Made for the one that puts things on the list, who has better to do: taking in the decisions about an event copies their
/// numbers, in half a cache line each mostly, and makes the event's record one more owner. `records` does the rest. Threads: one at
/// a time.
class KLWaitingRecords {
 public:
  using User = std::shared_ptr<const KLDiagnosisUser>;

  /// How many records will come of it.
  std::size_t size() const { return size_; }
  /// Whether there is nothing at all, not even a change of the user.
  bool empty() const { return groups_.empty(); }

  /// Decisions that were made at `time`, in seconds since 1970.
  void add(double time, KLDecisionContext&& context, std::span<const KLDecision> decisions);
  /// A record that is built, but for its user.
  void add(KLDiagnosisRecord record);
  /// Whom all that follows is about.
  void add(User user);

  /// Builds what is written. `user`: whom records are about before the first change of the user, and afterwards the last of them.
  std::vector<KLDiagnosisRecord> records(User& user) const;
  /// Empties the list. Its memory stays for what comes, unless that is much.
  void clear();

 private:
  /// A decision without what most of them leave at 0.
  struct Line {
    std::int64_t planID;
    double windowStart, windowEnd;
    KLDecision::Kind kind;
    bool hasCounts, hasPriorities;  ///< the next in counts_, in priorities_ are its
  };
  struct Counts {
    std::int64_t count, limit;
  };
  struct Priorities {
    std::int64_t priority, chosenPlanID, chosenPriority;
  };
  /// Of a context, what most of them leave empty.
  struct Rest {
    KLValue lastCampaignId, displayTimes;
  };
  using Other = std::variant<KLDiagnosisRecord, User>;

  /// What came together: decisions, or, when there are none, the next in others_.
  struct Group {
    double time;
    KLValue event;
    std::uint32_t decisions;
    bool hasRest;  ///< the next in rests_ is its
  };

  void add(const KLDecision& decision);
  void add(Other&& other);
  KLDecision decisionOf(const Line& line, const Counts*& counts, const Priorities*& priorities) const;

  std::vector<Group> groups_;
  std::vector<Line> lines_;  ///< of all groups, one after the other
  std::vector<Counts> counts_;
  std::vector<Priorities> priorities_;
  std::vector<Rest> rests_;
  std::vector<Other> others_;
  std::size_t size_ = 0;
};

}  // namespace kaleo
