#include "explain/ExplanationText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "Foundation/KLJSON.h"
#include "text/Counted.h"
#include "text/Table.h"

namespace kaleo::tools {
namespace {

Tone toneOf(const StoryEntry& entry) {
  if (entry.display) return entry.display->tone();
  switch (entry.state) {
    case KLDiagnosisState::ConfigFetched:
      return Tone::Faint;
    case KLDiagnosisState::Pattern:
      return Tone::Plain;
    default:
      return Tone::Bad;
  }
}

std::string headingOf(const PlanStory& story) {
  std::vector<std::string> names;
  for (const StoredId& name : story.names) names.push_back(name.label());
  return fmt::format("Plan {} for user {} ({})", story.planId.label(), story.userId.label(), fmt::join(names, ", "));
}

/// Most events that are named in one line; a story is no statistic.
constexpr std::size_t kMostEvents = 5;

/// "event Pay", or "events Pay 3, Search 1": the most frequent first.
std::string eventsOf(const StoryEntry& entry) {
  if (entry.events.empty()) return {};
  if (entry.events.size() == 1) return "event " + printable(entry.events.begin()->first);
  std::vector<std::pair<std::string, std::size_t>> events(entry.events.begin(), entry.events.end());
  std::ranges::stable_sort(events, std::ranges::greater{}, [](const auto& event) { return event.second; });
  std::string text = "events ";
  for (std::size_t i = 0; i < std::min(events.size(), kMostEvents); ++i) {
    text += fmt::format("{}{} {}", i == 0 ? "" : ", ", printable(events[i].first), events[i].second);
  }
  return events.size() > kMostEvents ? fmt::format("{} and {} others", text, events.size() - kMostEvents) : text;
}

/// What follows the sentence: how often, until when, and on which events.
std::string circumstancesOf(const StoryEntry& entry, const TimeText& times) {
  std::string text = entry.count == 1 ? "" : fmt::format("{} times, the last at {}", entry.count, times.at(entry.last));
  const std::string events = eventsOf(entry);
  if (!text.empty() && !events.empty()) text += "; ";
  text += events;
  return text.empty() ? "" : " (" + text + ")";
}

KLValue documentOf(const StoredId& id) { return id.isLocked ? KLObject{{"encrypted", id.text}} : KLValue(id.text); }

KLValue documentOf(const StoryEntry& entry) {
  KLObject events;
  for (const auto& [event, count] : entry.events) events.set(event, static_cast<std::int64_t>(count));
  return KLObject{{"first", entry.first},
                  {"last", entry.last},
                  {"count", static_cast<std::int64_t>(entry.count)},
                  {"state", static_cast<int>(entry.state)},
                  {"sentence", entry.sentence},
                  {"events", std::move(events)},
                  {"display", entry.display ? entry.display->document() : KLValue()},
                  {"content", entry.content}};
}

KLValue documentOf(const PlanStory& story) {
  KLValue::Array names, entries;
  for (const StoredId& name : story.names) names.push_back(documentOf(name));
  for (const StoryEntry& entry : story.entries) entries.push_back(documentOf(entry));
  return KLObject{{"project", story.project},
                  {"user_id", documentOf(story.userId)},
                  {"distinct_ids", std::move(names)},
                  {"plan_id", documentOf(story.planId)},
                  {"held_back_until", story.heldUntil ? KLValue(*story.heldUntil) : KLValue()},
                  {"standing", story.standing ? documentOf(*story.standing) : KLValue()},
                  {"entries", std::move(entries)}};
}

}  // namespace

std::string explanationText(const Explanation& explanation, const TimeText& times, bool coloured) {
  const Painter paint(coloured);
  std::string text = fmt::format("{}: {}. Read at {}.\n", paint(Tone::Heading, printable(explanation.file.filename().string())),
                                 counted(explanation.records, "record"), times.at(times.now()));
  for (const std::string& remark : explanation.remarks) text += paint(Tone::Bad, "Note: ") + remark + '\n';
  for (const PlanStory& story : explanation.stories) {
    text += fmt::format("\n{}\n", paint(Tone::Heading, headingOf(story)));
    if (story.heldUntil) {
      text += fmt::format("  {} {}. {}\n", paint(Tone::Bad, "Held back until"), times.full(*story.heldUntil), story.heldBy);
    }
    if (story.standing) {
      for (const StandingSentence& sentence : sentencesOf(*story.standing, times)) {
        text += fmt::format("  {}\n", paint(sentence.tone, sentence.text));
      }
    }
    Table table({"SINCE", "WHAT HAPPENED, THE NEWEST FIRST"});
    for (const StoryEntry& entry : story.entries) {
      table.add({{times.at(entry.first)}, {entry.sentence + circumstancesOf(entry, times), toneOf(entry)}});
    }
    text += table.text(paint, 2);
  }
  return text;
}

std::string explanationJSON(const Explanation& explanation, double now) {
  KLValue::Array stories;
  for (const PlanStory& story : explanation.stories) stories.push_back(documentOf(story));
  return KLJSON::serialize(KLObject{{"file", explanation.file.string()},
                                    {"read_at", now},
                                    {"records", static_cast<std::int64_t>(explanation.records)},
                                    {"remarks", KLValue::Array(explanation.remarks.begin(), explanation.remarks.end())},
                                    {"stories", std::move(stories)}},
                           KLJSON::Style::Pretty) +
         "\n";
}

}  // namespace kaleo::tools
