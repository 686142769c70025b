#include <fmt/format.h>

#include <chrono>
#include <map>
#include <thread>

#include "cost/Cost.h"
#include "cost/MeasuredHost.h"
#include "cost/ProcessFigures.h"
#include "cost/ServerProcess.h"

// What a library does that has nothing to do but to wait for its refresh timer.

namespace kaleo::bench {
namespace {

constexpr std::size_t kPlans = 100;
constexpr int kSettleSeconds = 3;
constexpr int kWatchedSeconds = 20;

int watch(double pullSeconds) {
  const ServerProcess server(answerText(kPlans, pullSeconds));
  const TemporaryDirectory files;
  MeasuredHost host(server.url(), files.path(), false);
  if (!host.startAndSettle()) return fmt::print("no event was decided\n"), 1;
  std::this_thread::sleep_for(std::chrono::seconds(kSettleSeconds));
  const auto before = otherThreads();
  std::this_thread::sleep_for(std::chrono::seconds(kWatchedSeconds));
  fmt::print("  refresh every {:g} s, {} threads, watched for {} s:\n", pullSeconds, before.size(), kWatchedSeconds);
  long switches = 0;
  double seconds = 0;
  for (const auto& [thread, now] : otherThreads()) {
    const auto then = before.find(thread);
    const long woken = now.switches - (then == before.end() ? 0 : then->second.switches);
    const double ran = now.seconds - (then == before.end() ? 0 : then->second.seconds);
    if (woken > 0) fmt::print("    {:<18} {:>4} context switches, {:>8.3f} ms of processor\n", now.name, woken, ran * 1000);
    switches += woken;
    seconds += ran;
  }
  fmt::print("    {:<18} {:>4} context switches, {:>8.3f} ms of processor ({:.4f} %)\n", "together", switches, seconds * 1000,
             seconds / kWatchedSeconds * 100);
  return 0;
}

}  // namespace

int costOfIdling() {
  fmt::print("Idle, with the refresh timer running\n");
  constexpr double kUsual = 600, kShort = 4;
  return watch(kUsual) + watch(kShort);
}

}  // namespace kaleo::bench
