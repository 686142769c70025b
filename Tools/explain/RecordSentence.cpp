#include "explain/RecordSentence.h"

#include <fmt/format.h>

#include "explain/PopupDisplay.h"

#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

/// "from ... until ...", as far as the record has it.
std::string window(const JourneyRecord& record, const TimeText& times) {
  const auto start = record.seconds(kQuillonDiagnosticInfoKeyWindowStart), end = record.seconds(kQuillonDiagnosticInfoKeyWindowEnd);
  if (!start && !end) return {};
  return fmt::format("{}{}", start ? " from " + times.at(*start) : "", end ? " until " + times.at(*end) : "");
}

std::string leftOut(const JourneyRecord& record) {
  const std::string reason = record.text(kQuillonDiagnosticInfoKeyMessage);
  if (reason == "expired campaign") return "Left out: it has expired.";
  if (reason == "not active") return "Left out: it is not active.";
  if (reason == "not audience") return "Left out: the user is not in its audience.";
  return fmt::format("Left out: {}.", printable(reason));
}

std::string globalInterval(const JourneyRecord& record, const TimeText& times) {
  const std::string last = record.text("last_campaign_id");
  return fmt::format("Refused: quiet period after any popup{}{}.", window(record, times),
                     last.empty() ? "" : fmt::format("; the last popup was that of plan {}", printable(last)));
}

std::string pattern(const JourneyRecord& record, const TimeText& times) {
  if (record.text(kQuillonDiagnosticInfoKeyMessage) == "not meet trigger count") {
    return fmt::format("Not yet: an event counted, {} of {} in the window{}.", record.number("current_count").value_or(0),
                       record.number("campaign_count").value_or(0), window(record, times));
  }
  return "An event came near, but a matcher asks for another one, or for other properties.";
}

std::string globalLimit(const JourneyRecord& record, const TimeText& times) {
  const auto start = record.seconds(kQuillonDiagnosticInfoKeyWindowStart);
  return fmt::format("Refused: the global limit is reached, {} of {} popups{}.",
                     record.number("current_campaign_count").value_or(0), record.number("global limit count").value_or(0),
                     start ? " since " + times.at(*start) : "");
}

std::string reEntry(const JourneyRecord& record, const TimeText& times) {
  return fmt::format("Refused: re-entry, {} of {} popups shown{}.", record.number("current_campaign_count").value_or(0),
                     record.number("reEnter_limit_count").value_or(0), window(record, times));
}

std::string lowerPriority(const JourneyRecord& record) {
  return fmt::format("Passed every check, but plan {} of higher priority showed instead ({} against {}).",
                     printable(record.text("trigger_campaign_id")), record.number("trigger_campaign_priority").value_or(0),
                     record.number("priority").value_or(0));
}

}  // namespace

std::string sentenceOf(const JourneyRecord& record, const TimeText& times) {
  if (record.content.isUnreadable()) return "Something was recorded that cannot be read.";
  switch (record.state) {
    case KLDiagnosisState::ConfigFetched:
      return "A configuration was fetched.";
    case KLDiagnosisState::PlanFiltered:
      return leftOut(record);
    case KLDiagnosisState::NotConverted:
      return fmt::format("Refused: its last popup may still convert{}.", window(record, times));
    case KLDiagnosisState::GlobalInterval:
      return globalInterval(record, times);
    case KLDiagnosisState::PlanInterval:
      return fmt::format("Refused: its own quiet period{}.", window(record, times));
    case KLDiagnosisState::Pattern:
      return pattern(record, times);
    case KLDiagnosisState::GlobalLimit:
      return globalLimit(record, times);
    case KLDiagnosisState::ReEnterLimit:
      return reEntry(record, times);
    case KLDiagnosisState::LowerPriority:
      return lowerPriority(record);
    case KLDiagnosisState::Finished:
      return "Passed every check: its popup was handed on to be shown.";
  }
  if (PopupDisplay::isOutcome(record)) {
    PopupDisplay display;
    display.take(record);
    return display.sentence(times);
  }
  return fmt::format("Recorded: {}.", printable(record.text(kQuillonDiagnosticInfoKeyMessage)));
}

}  // namespace kaleo::tools
