#include "Core/Base/Diagnosis/KLWaitingRecords.h"

#include <string>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

/// Decisions for which memory is kept: a few hundred kilobytes.
constexpr std::size_t kMostKept = 4096;

}  // namespace

void KLWaitingRecords::add(std::int64_t time, const std::shared_ptr<const KLDiagnosisUser>& user, const KLDecisionContext& context,
                           std::span<const KLDecision> decisions) {
  for (const KLDecision& decision : decisions) add(decision);
  groups_.push_back({time, user, context, decisions.size(), nullptr});
  size_ += decisions.size();
}

void KLWaitingRecords::add(const KLDecision& decision) {
  const auto& [kind, planID, windowStart, windowEnd, count, limit, priority, chosenPlanID, chosenPriority] = decision;
  const bool hasNumbers = (count | limit | priority | chosenPlanID | chosenPriority) != 0;
  lines_.push_back({planID, windowStart, windowEnd, kind, hasNumbers});
  if (hasNumbers) numbers_.push_back({count, limit, priority, chosenPlanID, chosenPriority});
}

void KLWaitingRecords::add(KLDiagnosisRecord record) {
  auto kept = std::make_unique<KLDiagnosisRecord>(std::move(record));
  groups_.push_back({.record = std::move(kept)});
  ++size_;
}

void KLWaitingRecords::setMissingUser(const std::shared_ptr<const KLDiagnosisUser>& user) {
  for (Group& group : groups_) {
    auto& place = group.record ? group.record->user : group.user;
    if (!place) place = user;
  }
}

std::vector<KLDiagnosisRecord> KLWaitingRecords::records() const {
  std::vector<KLDiagnosisRecord> records;
  records.reserve(size_);
  auto line = lines_.begin();
  auto numbers = numbers_.begin();
  for (const Group& group : groups_) {
    if (group.record) records.push_back(*group.record);
    const std::string event = quillon_stringValue(&group.context.eventName).value_or("");
    for (std::size_t i = 0; i < group.decisions; ++i, ++line) {
      const auto [count, limit, priority, chosenPlanID, chosenPriority] = line->hasNumbers ? *numbers++ : Numbers{};
      const KLDecision decision{line->kind, line->planID, line->windowStart, line->windowEnd, count,
                                limit,      priority,     chosenPlanID,      chosenPriority};
      records.push_back({group.time, group.user, std::to_string(decision.planID), decision.state(), decision.type(),
                         decision.content(group.context), event});
    }
  }
  return records;
}

void KLWaitingRecords::clear() {
  if (lines_.capacity() > kMostKept || groups_.capacity() > kMostKept) {
    *this = {};
    return;
  }
  groups_.clear();
  lines_.clear();
  numbers_.clear();
  size_ = 0;
}

}  // namespace kaleo
