#include "explain/Explanation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <set>
#include <utility>

#include "explain/ExplanationText.h"
#include "text/Counted.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

int fail(const ReadingOutput& output, const std::string& reason) {
  output.err << "kaleo explain: " << printable(reason) << '\n';
  return kCannotRead;
}

/// Ids that are named where one was asked for in vain.
constexpr std::size_t kMostNamed = 10;

/// "101, 102 and 7 others" of what `ids` holds; "" of nothing.
std::string listed(const std::set<std::string>& ids) {
  std::vector<std::string> named;
  for (const std::string& id : ids) {
    if (named.size() < kMostNamed) named.push_back(id);
  }
  const std::string list = fmt::format("{}", fmt::join(named, ", "));
  return ids.size() > named.size() ? fmt::format("{} and {} others", list, ids.size() - named.size()) : list;
}

/// What of an id that was asked for there is instead.
std::string thereIs(const ExplanationArguments& arguments, const JourneyRecords& records) {
  std::set<std::string> plans, users;
  for (const JourneyRecord& record : records.records) {
    const auto add = [](std::set<std::string>& ids, const StoredId& id) {
      if (!id.text.empty()) ids.insert(id.label());
    };
    add(plans, record.planId);
    add(users, record.userId);
    add(users, record.distinctId);
  }
  if (!arguments.user.empty() && !users.contains(arguments.user)) return fmt::format("; there are {}", listed(users));
  if (!arguments.plan.empty() && !plans.contains(arguments.plan)) return fmt::format("; there are plans {}", listed(plans));
  return "";
}

std::string whyNothing(const ExplanationArguments& arguments, const JourneyRecords& records, const TimeText& times) {
  if (records.records.empty()) return arguments.file.string() + " holds no records yet";
  std::string asked;
  if (!arguments.plan.empty()) asked += " of plan " + arguments.plan;
  if (!arguments.user.empty()) asked += " of user " + arguments.user;
  if (!arguments.since.empty()) asked += " since " + arguments.since;
  return fmt::format("{} holds {}, the newest of {}, but none{}{}", arguments.file.string(),
                     counted(records.records.size(), "record"), times.full(records.records.back().time), asked,
                     thereIs(arguments, records));
}

}  // namespace

int explain(const ExplanationArguments& arguments, const ReadingOutput& output) {
  std::string error;
  const auto reading = DatabaseReading::open(arguments, std::string(kQuillonDiagnosticDatabaseNameJourneys) + ".sqlite", error);
  if (!reading) return fail(output, error);
  const FixedClock clock(output.now);
  const KLCalendar calendar(arguments.timeZone, KLWeekday::Monday), sundayCalendar(arguments.timeZone, KLWeekday::Sunday);
  StoryFilter filter{arguments.plan, arguments.user};
  if (!arguments.since.empty() && !(filter.since = instantFrom(arguments.since, calendar, output.now))) {
    return fail(output, fmt::format("--since {}: {}", arguments.since, kTimesAre));
  }
  if (const auto reason = JourneyRecords::whyForeign(reading->database()); !reason.empty()) {
    return fail(output, fmt::format("{} {}", arguments.file.string(), reason));
  }
  const JourneyRecords records = JourneyRecords::read(reading->database(), reading->key());
  const TimeText times(calendar, output.now);
  auto remarks = reading->remarks(records.faults);
  if (const int version = reading->database().userVersion(); version > JourneyRecords::kNewestVersion) {
    remarks.push_back(
        fmt::format("The file was written by a later release (version {}, known here is {}): what that has anew is not told.",
                    version, JourneyRecords::kNewestVersion));
  }
  const Explanation explanation{arguments.file, records.records.size(), std::move(remarks),
                                storiesIn(records, filter, times, {clock, calendar, sundayCalendar})};
  if (explanation.stories.empty() && !arguments.json) return fail(output, whyNothing(arguments, records, times));
  output.out << (arguments.json ? explanationJSON(explanation, output.now) : explanationText(explanation, times, output.coloured));
  return records.faults.any() ? kPartlyRead : kRead;
}

}  // namespace kaleo::tools
