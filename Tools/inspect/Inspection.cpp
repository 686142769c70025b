#include "inspect/Inspection.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Core/DataStore/KaleoDataStore.h"
#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

int fail(const ReadingOutput& output, const std::string& reason) {
  output.err << "kaleo inspect: " << printable(reason) << '\n';
  return kCannotRead;
}

/// Leaves only the user that is asked for. "" when there is one, else why not.
std::string keepUser(const ReadingArguments& arguments, StoredState& state) {
  std::vector<std::string> names;
  for (const StoredUser& user : state.users) names.push_back(user.id.label());
  std::erase_if(state.users, [&](const StoredUser& user) { return !user.isKnownAs(arguments.user); });
  if (!state.users.empty()) return {};
  return fmt::format("there is no user {} in {}{}", arguments.user, arguments.file.string(),
                     names.empty() ? ", nor any other" : fmt::format("; there is {}", fmt::join(names, ", ")));
}

int show(const ReadingArguments& arguments, const ReadingOutput& output, StoredState state, std::vector<std::string> remarks) {
  const FixedClock clock(output.now);
  const KLCalendar monday(arguments.timeZone, KLWeekday::Monday), sunday(arguments.timeZone, KLWeekday::Sunday);
  const KLPlanTime time{clock, monday, sunday};
  const Inspection inspection{arguments.file, std::move(state), std::move(remarks), time};
  output.out << (arguments.json ? inspectionJSON(inspection) : inspectionText(inspection, output.coloured));
  return inspection.state.faults.any() ? kPartlyRead : kRead;
}

}  // namespace

int inspect(const ReadingArguments& arguments, const ReadingOutput& output) {
  std::string error;
  const auto reading = DatabaseReading::open(arguments, KaleoDataStore::kDatabaseFileName, error);
  if (!reading) return fail(output, error);
  if (const auto reason = StoredState::whyForeign(reading->database()); !reason.empty()) {
    return fail(output, fmt::format("{} {}", arguments.file.string(), reason));
  }
  StoredState state = StoredState::read(reading->database(), reading->key());
  auto remarks = reading->remarks(state.faults);
  if (!arguments.user.empty()) {
    if (const auto reason = keepUser(arguments, state); !reason.empty()) return fail(output, reason);
  }
  return show(arguments, output, std::move(state), std::move(remarks));
}

}  // namespace kaleo::tools
