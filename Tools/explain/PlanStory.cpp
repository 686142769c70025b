#include "explain/PlanStory.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "explain/FetchedPlans.h"
#include "explain/RecordSentence.h"

namespace kaleo::tools {
namespace {

constexpr const char* kGone = "Fetched: the configuration no longer has it.";
constexpr const char* kFetched = "A configuration was fetched.";

/// Puts records together, the oldest first.
class Teller {
 public:
  Teller(const StoryFilter& filter, const TimeText& times) : filter_(filter), times_(times) {}

  void take(const JourneyRecord& record) {
    if (!isAsked(record)) return;
    if (record.state == KLDiagnosisState::ConfigFetched) {
      takeConfiguration(record);
    } else if (isAskedPlan(record.planId.text)) {
      PlanStory& story = storyOf(record, record.planId);
      add(story, record, sentenceOf(record, times_));
      note(story, record);
    }
  }

  std::vector<PlanStory> finish() {
    std::vector<PlanStory> stories;
    for (auto& [key, story] : stories_) {
      if (filter_.since) std::erase_if(story.entries, [this](const StoryEntry& entry) { return entry.last < *filter_.since; });
      if (story.entries.empty()) continue;
      std::ranges::reverse(story.entries);
      stories.push_back(std::move(story));
    }
    return stories;
  }

 private:
  using UserKey = std::pair<std::string, StoredId>;

  /// Project and user; a user without an id yet goes by the distinct id.
  static UserKey keyOf(const JourneyRecord& record) {
    return {record.project, record.userId.text.empty() ? record.distinctId : record.userId};
  }

  bool isAsked(const JourneyRecord& record) const {
    const auto is = [this](const StoredId& id) { return !id.isLocked && id.text == filter_.user; };
    return filter_.user.empty() || is(record.userId) || is(record.distinctId);
  }
  bool isAskedPlan(const std::string& plan) const { return filter_.plan.empty() || plan == filter_.plan; }

  PlanStory& storyOf(const JourneyRecord& record, const StoredId& plan) {
    const UserKey user = keyOf(record);
    PlanStory& story = stories_[{user.first, user.second, plan}];
    story.project = record.project;
    story.userId = record.userId;
    story.planId = plan;
    if (std::ranges::find(story.names, record.distinctId) == story.names.end()) story.names.push_back(record.distinctId);
    return story;
  }

  void takeConfiguration(const JourneyRecord& record) {
    const auto told = fetchedPlans(record);
    auto& plans = plans_[keyOf(record)];
    if (told) plans = *told;
    for (const auto& [plan, sentence] : plans) {
      if (isAskedPlan(plan)) fetched(storyOf(record, {plan}), record, sentence);
    }
    for (auto& [key, story] : stories_) {
      if (UserKey(std::get<0>(key), std::get<1>(key)) != keyOf(record) || plans.contains(story.planId.text)) continue;
      fetched(story, record, plans.empty() && !told ? kFetched : kGone);
    }
  }

  /// What a server says again is no news, whatever happened since.
  static void fetched(PlanStory& story, const JourneyRecord& record, const std::string& sentence) {
    const auto last = std::find_if(story.entries.rbegin(), story.entries.rend(),
                                   [](const StoryEntry& entry) { return entry.state == KLDiagnosisState::ConfigFetched; });
    if (last == story.entries.rend() || last->sentence != sentence) return add(story, record, sentence);
    ++last->count;
    last->last = record.time;
  }

  static void add(PlanStory& story, const JourneyRecord& record, const std::string& sentence) {
    KLValue content = record.content.get() ? *record.content.get() : KLValue();
    if (record.state == KLDiagnosisState::ConfigFetched) content = KLValue();  // of all plans, and told in the sentence
    if (!story.entries.empty() && story.entries.back().sentence == sentence) {
      StoryEntry& entry = story.entries.back();
      ++entry.count;
      entry.last = record.time;
      entry.content = std::move(content);
    } else {
      story.entries.push_back({record.time, record.time, 1, record.state, sentence, std::move(content)});
    }
    const StoredId& event = record.event;
    if (!event.text.empty()) ++story.entries.back().events[event.isLocked ? event.label() : event.text];
  }

  /// Keeps the refusal that lasts longest from now on.
  void note(PlanStory& story, const JourneyRecord& record) const {
    switch (record.state) {
      case KLDiagnosisState::NotConverted:
      case KLDiagnosisState::GlobalInterval:
      case KLDiagnosisState::PlanInterval:
      case KLDiagnosisState::ReEnterLimit:
        break;
      default:
        return;
    }
    const auto end = record.seconds(kQuillonDiagnosticInfoKeyWindowEnd);
    if (!end || *end <= times_.now() || *end < story.heldUntil.value_or(0)) return;
    story.heldUntil = end;
    story.heldBy = story.entries.back().sentence;
  }

  const StoryFilter& filter_;
  const TimeText& times_;
  std::map<std::tuple<std::string, StoredId, StoredId>, PlanStory> stories_;  ///< by project, user and plan
  std::map<UserKey, std::map<std::string, std::string>> plans_;               ///< of the last configuration told
};

}  // namespace

std::vector<PlanStory> storiesIn(const JourneyRecords& records, const StoryFilter& filter, const TimeText& times) {
  Teller teller(filter, times);
  for (const JourneyRecord& record : records.records) teller.take(record);
  return teller.finish();
}

}  // namespace kaleo::tools
