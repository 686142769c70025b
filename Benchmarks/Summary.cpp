#include "Summary.h"

#include <fmt/format.h>

namespace kaleo::bench {
namespace {

constexpr double kMatchingTimes = 3.5;
constexpr double kConfigurationTimes = 4;
constexpr double kSaveTimes = 2;
constexpr double kRecordingTimes = 1.1;
constexpr double kUnneededNanoseconds = 100;
constexpr double kPictureTimes = 1.1;
constexpr double kCacheNanoseconds = 1'000;
constexpr double kFirstTextNanoseconds = 40'000;
constexpr double kSameTextNanoseconds = 1'000;
constexpr int kPlans[] = {10, 100, 1'000, 10'000};

std::string duration(double nanoseconds) {
  if (nanoseconds < 10'000) return fmt::format("{:.0f} ns", nanoseconds);
  return nanoseconds < 10'000'000 ? fmt::format("{:.1f} us", nanoseconds / 1e3) : fmt::format("{:.1f} ms", nanoseconds / 1e6);
}

}  // namespace

void Summary::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
    Measured& measured = medians_[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args)];
    measured.nanoseconds = run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    for (const auto& [name, counter] : run.counters) measured.counters[name] = counter.value;
  }
}

const Summary::Measured* Summary::find(const std::string& name) const {
  const auto found = medians_.find(name);
  return found == medians_.end() ? nullptr : &found->second;
}

void Summary::compare(const std::string& what, const std::string& name, const std::string& floor) const {
  const Measured* const measured = find(name);
  const Measured* const other = find(floor);
  if (!measured || !other) return;
  fmt::print("{:<58} {:>9}, {:5.2f} times {} ({})\n", what, duration(measured->nanoseconds),
             measured->nanoseconds / other->nanoseconds, floor, duration(other->nanoseconds));
}

void Summary::judge(const std::string& what, const std::string& name, const std::string& floor, double times,
                    double nanoseconds) const {
  compare(what, name, floor);
  const Measured* const measured = find(name);
  const Measured* const other = find(floor);
  if (!measured || !other) return;
  const bool reached = measured->nanoseconds <= nanoseconds || measured->nanoseconds <= times * other->nanoseconds;
  const std::string goal = times > 0 ? fmt::format("{} times the floor", times) : duration(nanoseconds);
  fmt::print("{:<58} {} ({})\n", "", reached ? "within the goal" : "MISSES THE GOAL", goal);
}

void Summary::reach(const std::string& what, const std::string& name, double nanoseconds) const {
  const Measured* const measured = find(name);
  if (!measured) return;
  const bool reached = measured->nanoseconds <= nanoseconds;
  fmt::print("{:<58} {:>9}, {} ({})\n", what, duration(measured->nanoseconds), reached ? "within the goal" : "MISSES THE GOAL",
             duration(nanoseconds));
}

void Summary::printPictures() const {
  judge("A JPEG of 1080 x 1920", "picture/jpeg", "floor/jpeg", kPictureTimes, 0);
  judge("A PNG of 1080 x 1920", "picture/png", "floor/png", kPictureTimes, 0);
  judge("A GIF of 60 frames of 300 x 300, all of them", "picture/gif", "floor/gif", kPictureTimes, 0);
  if (const Measured* const gif = find("picture/gif")) {
    fmt::print("It holds {:.2f} MB: its file of {:.2f} MB, and {:.1f} canvases\n", gif->counters.at("held") / 1e6,
               gif->counters.at("file") / 1e6, (gif->counters.at("held") - gif->counters.at("file")) / gif->counters.at("canvas"));
  }
  reach("A picture out of the memory cache", "picture/memory_cache", kCacheNanoseconds);
}

void Summary::printLayout() const {
  compare("A popup of 200 elements, without measuring texts", "layout/unmeasured", "layout/json");
  compare("The same, its 66 texts measured for the first time", "layout/measured", "layout/json");
  compare("The same, its texts measured before", "layout/measured_before", "layout/json");
  reach("A text of 200 characters, measured first", "text/first", kFirstTextNanoseconds);
  reach("The same text again", "text/again", kSameTextNanoseconds);
}

void Summary::printMemory() const {
  const Measured* const plans = find("configuration/plans");
  if (!plans) return;
  const double held = plans->counters.at("held");
  const double bytes = plans->counters.at("bytes");
  fmt::print("Its text has {:.2f} MB; in memory it holds {:.2f} MB, {:.2f} times that\n", bytes / 1e6, held / 1e6, held / bytes);
}

void Summary::print() const {
  fmt::print("\nMedians of this run, an event each but for configuration, pictures and layout:\n");
  for (const int plans : kPlans) {
    const auto with = [plans](const char* name) { return fmt::format("{}/{}", name, plans); };
    judge(fmt::format("Matching alone, {} plans", plans), with("library/match"), with("floor/match"), kMatchingTimes, 0);
  }
  for (const int plans : kPlans) {
    const auto with = [plans](const char* name) { return fmt::format("{}/{}", name, plans); };
    judge(fmt::format("An event that none of {} plans needs", plans), with("trigger/unneeded"), with("floor/unneeded"), 0,
          kUnneededNanoseconds);
  }
  for (const int plans : kPlans) {
    const auto with = [plans](const char* name) { return fmt::format("{}/{}", name, plans); };
    compare(fmt::format("All checks, {} plans", plans), with("trigger"), with("library/match"));
    compare(fmt::format("All checks, {} plans, with a recorder", plans), with("trigger/recorder"), with("trigger"));
    compare(fmt::format("All checks, {} plans, with one that has contents built", plans), with("trigger/recorder_contents"),
            with("trigger"));
    judge(fmt::format("All checks, {} plans, with the recorder of decisions", plans), with("trigger/diagnosis"),
          with("trigger/diagnosis_aside"), kRecordingTimes, 0);
    compare(fmt::format("All checks, {} plans, with a logger", plans), with("trigger/logger"), with("trigger"));
    compare(fmt::format("All checks, {} plans, with both", plans), with("trigger/recorder+logger"), with("trigger"));
    compare(fmt::format("All checks, {} plans, the global limit in use", plans), with("trigger/global_limit"), with("trigger"));
  }
  compare("Matching, 10 of 10,000 plans listen", "library/match/ten_listen/10000", "library/match/ten_listen/10");
  compare("All checks, 10 of 10,000 plans listen", "trigger/ten_listen/10000", "trigger/ten_listen/10");
  judge("A configuration of 1,000 plans, bytes to plans", "configuration/plans", "configuration/simdjson", kConfigurationTimes, 0);
  compare("The same and the end of the one before", "configuration/replaced", "configuration/simdjson");
  compare("Bytes to values only", "configuration/value", "configuration/simdjson");
  printMemory();
  printStore();
  printPictures();
  printLayout();
}

void Summary::printStore() const {
  for (const char* const kind : {"plain", "encrypted"}) {
    const auto of = [kind](const char* what, const char* count) { return fmt::format("store/{}/{}/{}", what, kind, count); };
    compare(fmt::format("One window saved, {}", kind), of("save", "1"), "raw/update/1");
    judge(fmt::format("100 windows saved, {}", kind), of("save", "100"), "raw/update/100", kSaveTimes, 0);
    compare(fmt::format("Windows of 1,000 plans loaded, {}", kind), of("load", "1000"), "raw/select/1000");
    compare(fmt::format("Windows of 10,000 plans loaded, {}", kind), of("load", "10000"), "raw/select/10000");
    compare(fmt::format("A start with 1,000 stored plans, {}", kind), fmt::format("store/start/{}", kind), "raw/select/1000");
  }
}

}  // namespace kaleo::bench
