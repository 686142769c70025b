#include "explain/Explanation.h"

#include <fmt/format.h>

#include "explain/ExplanationText.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

int fail(const ReadingOutput& output, const std::string& reason) {
  output.err << "kaleo explain: " << printable(reason) << '\n';
  return kCannotRead;
}

std::string whyNothing(const ExplanationArguments& arguments, const JourneyRecords& records) {
  if (records.records.empty()) return arguments.file.string() + " holds no records yet";
  std::string asked;
  if (!arguments.plan.empty()) asked += " of plan " + arguments.plan;
  if (!arguments.user.empty()) asked += " of user " + arguments.user;
  if (!arguments.since.empty()) asked += " since " + arguments.since;
  return fmt::format("{} holds {} records, but none{}", arguments.file.string(), records.records.size(), asked);
}

}  // namespace

int explain(const ExplanationArguments& arguments, const ReadingOutput& output) {
  std::string error;
  const auto reading = DatabaseReading::open(arguments, std::string(kQuillonDiagnosticDatabaseNameJourneys) + ".sqlite", error);
  if (!reading) return fail(output, error);
  const KLCalendar calendar(arguments.timeZone, KLWeekday::Monday);
  StoryFilter filter{arguments.plan, arguments.user};
  if (!arguments.since.empty() && !(filter.since = instantFrom(arguments.since, calendar, output.now))) {
    return fail(output, fmt::format("--since {}: {}", arguments.since, kTimesAre));
  }
  if (const auto reason = JourneyRecords::whyForeign(reading->database()); !reason.empty()) {
    return fail(output, fmt::format("{} {}", arguments.file.string(), reason));
  }
  const JourneyRecords records = JourneyRecords::read(reading->database(), reading->key());
  const TimeText times(calendar, output.now);
  const Explanation explanation{arguments.file, records.records.size(), reading->remarks(records.faults),
                                storiesIn(records, filter, times)};
  if (explanation.stories.empty() && !arguments.json) return fail(output, whyNothing(arguments, records));
  output.out << (arguments.json ? explanationJSON(explanation, output.now) : explanationText(explanation, times, output.coloured));
  return records.faults.any() ? kPartlyRead : kRead;
}

}  // namespace kaleo::tools
