#include "cost/ProcessFigures.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace kaleo::bench {
namespace {

namespace fs = std::filesystem;
constexpr std::size_t kKilobyte = 1024;

/// The number that follows `label` in a file of /proc; 0 when it is not there.
long numberAfter(const fs::path& file, const std::string& label) {
  std::ifstream stream(file);
  for (std::string word; stream >> word;) {
    long number = 0;
    if (word == label && stream >> number) return number;
  }
  return 0;
}

Activity activityOf(const fs::path& thread) {
  Activity activity;
  std::ifstream(thread / "comm") >> activity.name;
  const fs::path status = thread / "status";
  activity.switches = numberAfter(status, "voluntary_ctxt_switches:") + numberAfter(status, "nonvoluntary_ctxt_switches:");
  double nanoseconds = 0;
  std::ifstream(thread / "schedstat") >> nanoseconds;
  activity.seconds = nanoseconds / 1e9;
  return activity;
}

}  // namespace

std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

Memory processMemory() {
  const fs::path file = "/proc/self/smaps_rollup";
  return {static_cast<std::size_t>(numberAfter(file, "Rss:")) * kKilobyte,
          static_cast<std::size_t>(numberAfter(file, "Private_Dirty:")) * kKilobyte};
}

std::map<pid_t, Activity> otherThreads() {
  std::map<pid_t, Activity> threads;
  for (const auto& entry : fs::directory_iterator("/proc/self/task")) {
    const pid_t thread = std::stoi(entry.path().filename());
    if (thread != gettid()) threads[thread] = activityOf(entry.path());
  }
  return threads;
}

}  // namespace kaleo::bench
