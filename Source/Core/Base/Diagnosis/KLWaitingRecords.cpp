#include "Core/Base/Diagnosis/KLWaitingRecords.h"

#include <string>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

/// Decisions for which memory is kept: a few hundred kilobytes.
constexpr std::size_t kMostKept = 4096;

}  // namespace

void KLWaitingRecords::add(std::int64_t time, const std::shared_ptr<const KLDiagnosisUser>& user,
                           const KLDecisionContext& context, std::span<const KLDecision> decisions) {
  decisions_.insert(decisions_.end(), decisions.begin(), decisions.end());
  groups_.push_back({time, user, context, decisions.size(), nullptr});
  size_ += decisions.size();
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
  auto decision = decisions_.begin();
  for (const Group& group : groups_) {
    if (group.record) records.push_back(*group.record);
    const std::string event = quillon_stringValue(&group.context.eventName).value_or("");
    for (std::size_t i = 0; i < group.decisions; ++i, ++decision) {
      records.push_back({group.time, group.user, std::to_string(decision->planID), decision->state(), decision->type(),
                         decision->content(group.context), event});
    }
  }
  return records;
}

void KLWaitingRecords::clear() {
  if (decisions_.capacity() > kMostKept || groups_.capacity() > kMostKept) {
    *this = {};
    return;
  }
  groups_.clear();
  decisions_.clear();
  size_ = 0;
}

}  // namespace kaleo
