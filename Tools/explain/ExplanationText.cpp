#include "explain/ExplanationText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Foundation/KLJSON.h"
#include "text/Table.h"

namespace kaleo::tools {
namespace {

Tone toneOf(KLDiagnosisState state) {
  switch (state) {
    case KLDiagnosisState::ConfigFetched:
      return Tone::Faint;
    case KLDiagnosisState::Finished:
      return Tone::Good;
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

KLValue documentOf(const StoredId& id) { return id.isLocked ? KLObject{{"encrypted", id.text}} : KLValue(id.text); }

KLValue documentOf(const StoryEntry& entry) {
  return KLObject{{"first", entry.first},
                  {"last", entry.last},
                  {"count", static_cast<std::int64_t>(entry.count)},
                  {"state", static_cast<int>(entry.state)},
                  {"sentence", entry.sentence},
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
                  {"entries", std::move(entries)}};
}

}  // namespace

std::string explanationText(const Explanation& explanation, const TimeText& times, bool coloured) {
  const Painter paint(coloured);
  std::string text =
      fmt::format("{}: {} records. Read at {}.\n", paint(Tone::Heading, printable(explanation.file.filename().string())),
                  explanation.records, times.at(times.now()));
  for (const std::string& remark : explanation.remarks) text += paint(Tone::Bad, "Note: ") + remark + '\n';
  for (const PlanStory& story : explanation.stories) {
    text += fmt::format("\n{}\n", paint(Tone::Heading, headingOf(story)));
    if (story.heldUntil) {
      text += fmt::format("  {} {}. {}\n", paint(Tone::Bad, "Held back until"), times.full(*story.heldUntil), story.heldBy);
    }
    Table table({"SINCE", "WHAT HAPPENED, THE NEWEST FIRST"});
    for (const StoryEntry& entry : story.entries) {
      const std::string again =
          entry.count == 1 ? "" : fmt::format(" ({} times, the last at {})", entry.count, times.at(entry.last));
      table.add({{times.at(entry.first)}, {entry.sentence + again, toneOf(entry.state)}});
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
