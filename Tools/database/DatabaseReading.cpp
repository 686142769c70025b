#include "database/DatabaseReading.h"

#include <fmt/format.h>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLCalendar.h"
#include "text/Counted.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

/// What to do about a file that cannot be had, where that is clear.
std::string hintFor(const fs::path& file, const std::string& usualName) {
  std::error_code ignored;
  const fs::path inside = file / usualName;
  if (fs::is_regular_file(inside, ignored)) return fmt::format("; give {}", inside.string());
  fs::path log = file;
  log += "-wal";
  if (fs::exists(file, ignored) || !fs::exists(log, ignored)) return {};
  return fmt::format("; only {} is there, which is nothing without it", log.filename().string());
}

/// "1 value is", "2 values are".
std::string areCounted(std::size_t values) { return counted(values, "value") + (values == 1 ? " is" : " are"); }

}  // namespace

std::unique_ptr<DatabaseReading> DatabaseReading::open(const ReadingArguments& arguments, const std::string& usualName,
                                                       std::string& error) {
  std::error_code ignored;
  if (!arguments.timeZone.empty() && !KLCalendar::isKnownTimeZone(arguments.timeZone)) {
    error = fmt::format("unknown time zone: {}", arguments.timeZone);
    return nullptr;
  }
  std::unique_ptr<DatabaseReading> reading(new DatabaseReading(arguments));
  if (!arguments.key.empty() && !reading->key_.readKeyFile(arguments.key)) {
    error = fmt::format("the key file {} {}", arguments.key.string(),
                        fs::exists(arguments.key, ignored) ? "is none of this library" : "is not there");
    return nullptr;
  }
  reading->database_ = DatabaseCopy::take(arguments.file, error);
  if (reading->database_) return reading;
  error += hintFor(arguments.file, usualName);
  return nullptr;
}

std::vector<std::string> DatabaseReading::remarks(const ReadingFaults& faults) const {
  std::vector<std::string> remarks;
  if (!faults.damage.empty()) {
    remarks.push_back(fmt::format("The file is damaged, and only a part of it may be shown here ({}).", printable(faults.damage)));
  }
  if (faults.lockedValues > 0) {
    remarks.push_back(
        fmt::format("{} encrypted and cannot be shown: {}.", areCounted(faults.lockedValues),
                    keyFile_.empty()
                        ? fmt::format("give the application's key file with --key ({}, in the directory of the application's data)",
                                      KaleoDataStore::kKeyFileName)
                        : fmt::format("another key than that of {} is needed", printable(keyFile_.string()))));
  }
  if (faults.damagedValues > 0) {
    remarks.push_back(fmt::format("{} damaged, or of a later release; the library counts what it cannot read as missing.",
                                  areCounted(faults.damagedValues)));
  }
  if (database_->lacksLog()) {
    remarks.push_back(fmt::format(
        "No {}-wal lies beside it. If the application was running when the file was copied, its latest changes are missing here.",
        printable(file_.filename().string())));
  }
  return remarks;
}

}  // namespace kaleo::tools
