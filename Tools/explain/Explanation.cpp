#include "explain/Explanation.h"

#include <fmt/format.h>

#include <charconv>

#include "explain/ExplanationText.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

int fail(const ReadingOutput& output, const std::string& reason) {
  output.err << "kaleo explain: " << printable(reason) << '\n';
  return kCannotRead;
}

/// Seconds of the unit that a length of time ends in; 0 for another letter.
double secondsOf(char unit) {
  switch (unit) {
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return 86400;
    default:
      return 0;
  }
}

/// The instant that `text` means; nothing when it means none.
std::optional<double> instantOf(const std::string& text, const KLCalendar& calendar, double now) {
  double instant = 0;
  for (const char* pattern :
       {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm", "yyyy-MM-dd'T'HH:mm:ssXXX", "yyyy-MM-dd'T'HH:mm", "yyyy-MM-dd"}) {
    if (calendar.parseDate(text, pattern, instant)) return instant;
  }
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, instant);
  if (error != std::errc{} || instant < 0) return std::nullopt;
  if (rest == end) return instant;
  const double unit = rest + 1 == end ? secondsOf(*rest) : 0;
  return unit > 0 ? std::optional(now - instant * unit) : std::nullopt;
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
  if (!arguments.since.empty() && !(filter.since = instantOf(arguments.since, calendar, output.now))) {
    return fail(output,
                fmt::format("--since {}: give a time such as 2026-11-21, \"2026-11-21 18:00\", 36h or 7d", arguments.since));
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
  if (!output.out.flush()) return fail(output, "the output cannot be written");
  return records.faults.any() ? kPartlyRead : kRead;
}

}  // namespace kaleo::tools
