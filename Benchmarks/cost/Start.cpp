#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "cost/Cost.h"
#include "cost/MeasuredHost.h"
#include "cost/ServerProcess.h"

// From the start of the library to the first event that it has decided, on a device that has stored a configuration before.

namespace kaleo::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::size_t kPlans = 1000;
constexpr int kRuns = 9;

/// Milliseconds.
struct Took {
  double call;       ///< of making and starting the library, on the caller's thread
  double event;      ///< until the application was asked about the popup
  double processor;  ///< of all threads in that time
};

double processorMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

Took run(const std::string& server, const std::filesystem::path& files) {
  const double processor = processorMilliseconds();
  const auto began = Clock::now();
  MeasuredHost host(server, files, false);
  host.start();
  const auto started = Clock::now();
  host.trackName(kPopupEvent);
  const bool asked = host.delegate().waitUntilAsked();
  const double event = asked ? Milliseconds(Clock::now() - began).count() : -1;
  return {Milliseconds(started - began).count(), event, processorMilliseconds() - processor};
}

void report(const char* what, const std::string& server, const std::filesystem::path& files) {
  std::vector<double> calls, events, processor;
  for (int i = 0; i < kRuns; ++i) {
    const Took took = run(server, files);
    calls.push_back(took.call);
    events.push_back(took.event);
    processor.push_back(took.processor);
  }
  std::sort(calls.begin(), calls.end());
  std::sort(events.begin(), events.end());
  std::sort(processor.begin(), processor.end());
  fmt::print(
      "  {:<32} first event decided after {:>6.1f} ms (median of {}; {:.1f} to {:.1f}), {:.1f} ms of processor, "
      "the caller held {:.2f} ms\n",
      what, events[kRuns / 2], kRuns, events.front(), events.back(), processor[kRuns / 2], calls[kRuns / 2]);
}

}  // namespace

int costOfStart() {
  ServerProcess server(answerText(kPlans));
  const TemporaryDirectory files;
  if (run(server.url(), files.path()).event < 0) return fmt::print("no event was decided\n"), 1;
  fmt::print("Start with {} stored plans ({:.1f} MB of JSON)\n", kPlans, static_cast<double>(answerText(kPlans).size()) / 1e6);
  report("the server answers at once", server.url(), files.path());
  server.end();
  report("the server refuses connections", server.url(), files.path());
  return 0;
}

}  // namespace kaleo::bench
