#include "explain/PlanStory.h"

#include <algorithm>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "explain/FetchedConfiguration.h"
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
    if (record.state == KLDiagnosisState::ConfigFetched) return takeConfiguration(record);
    if (!isAsked(record) || !isAskedPlan(record.planId.text)) return;
    Told& told = toldOf(record, record.planId);
    if (PopupDisplay::isOutcome(record)) return takeOutcome(told.story, record);
    add(told.story, record, sentenceOf(record, times_));
    note(told, record);
  }

  std::vector<PlanStory> finish(const KLPlanTime& time, double recordsFrom) {
    addStandings(time, recordsFrom);
    std::vector<PlanStory> stories;
    for (auto& [key, told] : told_) {
      PlanStory& story = told.story;
      if (filter_.since) std::erase_if(story.entries, [this](const StoryEntry& entry) { return entry.last < *filter_.since; });
      if (story.entries.empty()) continue;
      tellDisplays(story.entries);
      std::ranges::reverse(story.entries);
      stories.push_back(std::move(story));
    }
    return stories;
  }

 private:
  using UserKey = std::pair<std::string, StoredId>;
  using Configuration = std::shared_ptr<const FetchedConfiguration>;

  struct Told {
    PlanStory story;
    std::map<std::string, EventUse> uses;  ///< of the events that came near
    bool isNamed = true;                   ///< every decision about an event says about which
  };
  struct Fetched {
    Configuration configuration;  ///< null: it cannot be read
    double at = 0;
  };

  /// Project and user; a user without an id yet goes by the distinct id.
  static UserKey keyOf(const JourneyRecord& record) {
    return {record.project, record.userId.text.empty() ? record.distinctId : record.userId};
  }

  bool isAsked(const JourneyRecord& record) const {
    const auto is = [this](const StoredId& id) { return !id.isLocked && id.text == filter_.user; };
    return filter_.user.empty() || is(record.userId) || is(record.distinctId);
  }
  bool isAskedPlan(const std::string& plan) const { return filter_.plan.empty() || plan == filter_.plan; }

  Told& toldOf(const JourneyRecord& record, const StoredId& plan) {
    const UserKey user = keyOf(record);
    Told& told = told_[{user.first, user.second, plan}];
    PlanStory& story = told.story;
    story.project = record.project;
    story.userId = record.userId;
    story.planId = plan;
    if (std::ranges::find(story.names, record.distinctId) == story.names.end()) story.names.push_back(record.distinctId);
    return told;
  }

  /// The one that the record keeps, or refers to: the last one before it, whoever that was fetched for.
  Configuration configurationOf(const JourneyRecord& record) {
    if (record.number("config_is_as_before").value_or(0) == 0) lastConfiguration_ = FetchedConfiguration::in(record);
    return lastConfiguration_;
  }

  void takeConfiguration(const JourneyRecord& record) {
    const Configuration configuration = configurationOf(record);
    if (!isAsked(record)) return;
    fetched_[keyOf(record)] = {configuration, record.time};
    static const std::map<std::string, std::string> kNone;
    const auto& plans = configuration ? configuration->plans() : kNone;
    for (const auto& [plan, sentence] : plans) {
      if (isAskedPlan(plan)) fetched(toldOf(record, {plan}).story, record, sentence);
    }
    for (auto& [key, told] : told_) {
      if (UserKey(std::get<0>(key), std::get<1>(key)) != keyOf(record) || plans.contains(told.story.planId.text)) continue;
      fetched(told.story, record, configuration ? kGone : kFetched);
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
    const bool isDisplay = record.state == KLDiagnosisState::Finished;
    KLValue content = record.content.get() ? *record.content.get() : KLValue();
    if (record.state == KLDiagnosisState::ConfigFetched) content = KLValue();  // of all plans, and told in the sentence
    if (!isDisplay && !story.entries.empty() && story.entries.back().sentence == sentence) {
      StoryEntry& entry = story.entries.back();
      ++entry.count;
      entry.last = record.time;
      entry.content = std::move(content);
    } else {
      story.entries.push_back({record.time, record.time, 1, record.state, sentence, std::move(content)});
      if (isDisplay) story.entries.back().display.emplace();
    }
    const StoredId& event = record.event;
    if (!event.text.empty()) ++story.entries.back().events[event.isLocked ? event.label() : event.text];
  }

  /// Joins it to the display that it is the outcome of, which is the plan's last: no other begins before its end.
  void takeOutcome(PlanStory& story, const JourneyRecord& record) const {
    const auto last = std::find_if(story.entries.rbegin(), story.entries.rend(),
                                   [](const StoryEntry& entry) { return entry.display.has_value(); });
    if (last == story.entries.rend()) return add(story, record, sentenceOf(record, times_));
    last->display->take(record);
    last->last = record.time;
  }

  /// Now that the outcomes are known: puts them into words, and displays that went the same way together.
  void tellDisplays(std::vector<StoryEntry>& entries) const {
    std::vector<StoryEntry> kept;
    for (StoryEntry& entry : entries) {
      if (entry.display) entry.sentence = entry.display->sentence(times_);
      if (!entry.display || kept.empty() || kept.back().sentence != entry.sentence) {
        kept.push_back(std::move(entry));
        continue;
      }
      ++kept.back().count;
      kept.back().last = entry.last;
      for (const auto& [event, count] : entry.events) kept.back().events[event] += count;
    }
    entries = std::move(kept);
  }

  /// Keeps the refusal that lasts longest from now on, and which events came near.
  void note(Told& told, const JourneyRecord& record) const {
    PlanStory& story = told.story;
    if (record.state >= KLDiagnosisState::NotConverted) {
      if (record.event.text.empty() || record.event.isLocked) {
        told.isNamed = false;
      } else {
        EventUse& use = told.uses[record.event.text];
        ++use.count;
        use.last = record.time;
      }
    }
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

  void addStandings(const KLPlanTime& time, double recordsFrom) {
    for (const auto& [user, fetched] : fetched_) {
      if (!fetched.configuration) continue;
      for (const auto& model : fetched.configuration->models()) {
        const auto found = told_.find({user.first, user.second, StoredId{model->planKey()}});
        if (found == told_.end()) continue;
        Told& told = found->second;
        told.story.standing = standingOf(*model, told.isNamed ? &told.uses : nullptr, time);
        told.story.standing->fetchedAt = fetched.at;
        told.story.standing->recordsFrom = recordsFrom;
      }
    }
  }

  const StoryFilter& filter_;
  const TimeText& times_;
  std::map<std::tuple<std::string, StoredId, StoredId>, Told> told_;  ///< by project, user and plan
  std::map<UserKey, Fetched> fetched_;                                ///< the last one of each
  Configuration lastConfiguration_;
};

}  // namespace

std::vector<PlanStory> storiesIn(const JourneyRecords& records, const StoryFilter& filter, const TimeText& times,
                                 const KLPlanTime& time) {
  Teller teller(filter, times);
  for (const JourneyRecord& record : records.records) teller.take(record);
  return teller.finish(time, records.records.empty() ? 0 : records.records.front().time);
}

}  // namespace kaleo::tools
