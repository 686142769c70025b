#include "inspect/Inspection.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLSystem.h"
#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

class Run {
 public:
  Run(const InspectionArguments& arguments, const InspectionOutput& output) : arguments_(arguments), output_(output) {}

  int run() {
    if (!arguments_.timeZone.empty() && !KLCalendar::isKnownTimeZone(arguments_.timeZone)) {
      return fail(fmt::format("unknown time zone: {}", arguments_.timeZone));
    }
    if (!arguments_.key.empty() && !key_.readKeyFile(arguments_.key)) {
      return fail(
          fmt::format("{} {}", arguments_.key.string(),
                      std::filesystem::exists(arguments_.key, ignored_) ? "is no key file of this library" : "is not there"));
    }
    std::string error;
    const auto database = DatabaseCopy::take(arguments_.file, error);
    if (!database) return fail(error + hint());
    if (const auto reason = StoredState::whyForeign(*database); !reason.empty()) {
      return fail(fmt::format("{} {}", arguments_.file.string(), reason));
    }
    StoredState state = StoredState::read(*database, arguments_.key.empty() ? nullptr : &key_);
    remark(*database, state);
    if (!arguments_.user.empty() && !keepUser(state)) return kCannotInspect;
    return show(std::move(state));
  }

 private:
  int fail(const std::string& reason) {
    output_.err << "kaleo inspect: " << printable(reason) << '\n';
    return kCannotInspect;
  }

  /// What to do about a file that cannot be had, where that is clear.
  std::string hint() const {
    std::filesystem::path inside = arguments_.file / KaleoDataStore::kDatabaseFileName;
    if (std::filesystem::is_regular_file(inside, ignored_)) return fmt::format("; give {}", inside.string());
    std::filesystem::path log = arguments_.file;
    log += "-wal";
    if (std::filesystem::exists(arguments_.file, ignored_) || !std::filesystem::exists(log, ignored_)) return {};
    return fmt::format("; only {} is there, which is nothing without it", log.filename().string());
  }

  void remark(const DatabaseCopy& database, const StoredState& state) {
    if (!state.damage.empty()) {
      remarks_.push_back(
          fmt::format("The file is damaged, and only a part of it may be shown here ({}).", printable(state.damage)));
    }
    if (state.lockedValues > 0) {
      remarks_.push_back(fmt::format(
          "{} values are encrypted and cannot be shown{}.", state.lockedValues,
          arguments_.key.empty()
              ? ": give the application's key file with --key (org.kaleo.KLAES, in the directory of the application's data)"
              : ": they were encrypted under another key than that of " + printable(arguments_.key.string())));
    }
    if (state.damagedValues > 0) {
      remarks_.push_back(
          fmt::format("{} values are damaged, or of a later release; the library counts them as missing.", state.damagedValues));
    }
    if (database.lacksLog()) {
      remarks_.push_back(fmt::format(
          "No {}-wal lies beside it. If the application was running when the file was copied, its latest changes are missing here.",
          printable(arguments_.file.filename().string())));
    }
  }

  bool keepUser(StoredState& state) {
    std::vector<std::string> names;
    for (const StoredUser& user : state.users) names.push_back(user.id.label());
    std::erase_if(state.users, [this](const StoredUser& user) { return !user.isKnownAs(arguments_.user); });
    if (!state.users.empty()) return true;
    fail(fmt::format("there is no user {} in {}{}", arguments_.user, arguments_.file.string(),
                     names.empty() ? ", nor any other" : fmt::format("; there is {}", fmt::join(names, ", "))));
    return false;
  }

  int show(StoredState state) {
    const FixedClock clock(output_.now);
    const KLCalendar monday(arguments_.timeZone, KLWeekday::Monday), sunday(arguments_.timeZone, KLWeekday::Sunday);
    const KLPlanTime time{clock, monday, sunday};
    const bool isWhole = state.damage.empty() && state.lockedValues == 0 && state.damagedValues == 0;
    const Inspection inspection{arguments_.file, std::move(state), std::move(remarks_), time};
    output_.out << (arguments_.json ? inspectionJSON(inspection) : inspectionText(inspection, output_.coloured));
    if (!output_.out.flush()) return fail("the output cannot be written");
    return isWhole ? kInspected : kPartlyInspected;
  }

  const InspectionArguments& arguments_;
  const InspectionOutput& output_;
  KLSystemRandom random_;  // of no use: the cipher only decrypts
  KLAESCrypt key_{random_};
  std::vector<std::string> remarks_;
  mutable std::error_code ignored_;
};

}  // namespace

int inspect(const InspectionArguments& arguments, const InspectionOutput& output) { return Run(arguments, output).run(); }

}  // namespace kaleo::tools
