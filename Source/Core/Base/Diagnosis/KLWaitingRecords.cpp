#include "Core/Base/Diagnosis/KLWaitingRecords.h"

#include <string>
#include <utility>

#include "Core/Base/Support/KLDiagnosisSlot.h"

namespace kaleo {
namespace {

/// Decisions for which memory is kept: a few hundred kilobytes.
constexpr std::size_t kMostKept = 4096;
/// Events whose whole records wait. Beyond, when the disk is at a standstill, only what is needed of them does.
constexpr std::size_t kMostWholeEvents = 1024;

/// The members of an event's record that records of decisions are made from.
KLValue essenceOf(const KLValue& event) {
  KLObject essence;
  for (const char* key : {"event", "track_id", "_track_id"}) essence.setIfPresent(key, event.find(key));
  return essence;
}

/// How far ahead places are got ready.
constexpr std::size_t kAhead = 16;

/// Puts an element at the end, and has the processor fetch a place further on, which another one has read from meanwhile: fetched
/// when it is written to, it would cost more than all the rest.
template <class T, class... Parts>
void put(std::vector<T>& list, Parts&&... parts) {
  list.emplace_back(std::forward<Parts>(parts)...);
  if (list.size() + kAhead < list.capacity()) __builtin_prefetch(list.data() + list.size() + kAhead, 1);
}

}  // namespace

void KLWaitingRecords::add(double time, KLDecisionContext&& context, std::span<const KLDecision> decisions) {
  if (decisions.empty()) return;
  for (const KLDecision& decision : decisions) add(decision);
  const bool hasRest = !context.lastCampaignId.isNull() || !context.displayTimes.isNull();
  if (hasRest) rests_.push_back({std::move(context.lastCampaignId), std::move(context.displayTimes)});
  if (groups_.size() >= kMostWholeEvents) context.event = essenceOf(context.event);
  put(groups_, time, std::move(context.event), static_cast<std::uint32_t>(decisions.size()), hasRest);
  size_ += decisions.size();
}

void KLWaitingRecords::add(const KLDecision& decision) {
  const auto& [kind, planID, windowStart, windowEnd, count, limit, priority, chosenPlanID, chosenPriority] = decision;
  const bool hasCounts = (count | limit) != 0;
  const bool hasPriorities = (priority | chosenPlanID | chosenPriority) != 0;
  put(lines_, planID, windowStart, windowEnd, kind, hasCounts, hasPriorities);
  if (hasCounts) put(counts_, count, limit);
  if (hasPriorities) priorities_.push_back({priority, chosenPlanID, chosenPriority});
}

void KLWaitingRecords::add(KLDiagnosisRecord record) {
  add(Other(std::move(record)));
  ++size_;
}

void KLWaitingRecords::add(User user) { add(Other(std::move(user))); }

void KLWaitingRecords::add(Other&& other) {
  others_.push_back(std::move(other));
  groups_.push_back({});
}

KLDecision KLWaitingRecords::decisionOf(const Line& line, const Counts*& counts, const Priorities*& priorities) const {
  const auto [count, limit] = line.hasCounts ? *counts++ : Counts{};
  const auto [priority, chosenPlanID, chosenPriority] = line.hasPriorities ? *priorities++ : Priorities{};
  return {line.kind, line.planID, line.windowStart, line.windowEnd, count, limit, priority, chosenPlanID, chosenPriority};
}

std::vector<KLDiagnosisRecord> KLWaitingRecords::records(User& user) const {
  std::vector<KLDiagnosisRecord> records;
  records.reserve(size_);
  const Line* line = lines_.data();
  const Counts* counts = counts_.data();
  const Priorities* priorities = priorities_.data();
  auto rest = rests_.begin();
  auto other = others_.begin();
  for (const Group& group : groups_) {
    if (group.decisions == 0) {
      if (const auto* const changed = std::get_if<User>(&*other)) {
        user = *changed;
      } else {
        records.push_back(std::get<KLDiagnosisRecord>(*other));
        records.back().user = user;
      }
      ++other;
      continue;
    }
    KLDecisionContext context{.time = group.time, .event = group.event};
    if (group.hasRest) {
      context.lastCampaignId = rest->lastCampaignId;
      context.displayTimes = rest->displayTimes;
      ++rest;
    }
    const std::string event = context.eventName();
    for (std::uint32_t i = 0; i < group.decisions; ++i, ++line) {
      const KLDecision decision = decisionOf(*line, counts, priorities);
      records.push_back({KLMilliseconds(group.time), user, std::to_string(decision.planID), decision.state(), decision.type(),
                         decision.content(context), event});
    }
  }
  return records;
}

void KLWaitingRecords::clear() {
  if (lines_.capacity() > kMostKept || groups_.capacity() > kMostKept || others_.capacity() > kMostKept) {
    *this = {};
    return;
  }
  groups_.clear();
  lines_.clear();
  counts_.clear();
  priorities_.clear();
  rests_.clear();
  others_.clear();
  size_ = 0;
}

}  // namespace kaleo
