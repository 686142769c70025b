#include <fmt/format.h>

#include <chrono>
#include <future>
#include <vector>

#include "Workload.h"
#include "cost/Cost.h"
#include "cost/MeasuredHost.h"
#include "cost/ProcessFigures.h"
#include "cost/ServerProcess.h"

// What is kept of the events that a host tracks while a popup stays on screen.

namespace kaleo::bench {
namespace {

constexpr std::size_t kPlans = 1000;
constexpr std::size_t kMeasured = 100'000;
constexpr std::size_t kEventsOfAnHour = 3600 * 1000;  ///< 1,000 a second
constexpr double kMegabyte = 1e6;

/// Bytes that `count` calls of `track` have left behind, each.
template <class Track>
double bytesEach(std::size_t count, Track track) {
  const std::size_t before = heapInUse();
  for (std::size_t i = 0; i < count; ++i) track(i);
  return (static_cast<double>(heapInUse()) - static_cast<double>(before)) / static_cast<double>(count);
}

void report(const char* what, double each) {
  fmt::print("  {:<62} {:>8.1f} bytes each, {:>9.1f} MB after an hour\n", what, each,
             each * static_cast<double>(kEventsOfAnHour) / kMegabyte);
}

}  // namespace

int costOfQueuedEvents() {
  const ServerProcess server(answerText(kPlans));
  const TemporaryDirectory files;
  MeasuredHost host(server.url(), files.path(), true);
  host.start();
  host.trackName(kPopupEvent);
  if (!host.delegate().waitUntilShown()) return fmt::print("no popup came\n"), 1;

  std::promise<void> refreshed;
  host.library().fetchCampaignsWithCompletion([&](const KLCampaignResponse&) { refreshed.set_value(); });
  refreshed.get_future().wait();  // from now on a configuration waits behind the popup

  fmt::print("Events tracked while a popup stays on screen, 1,000 a second (records of ten properties, {} plans)\n", kPlans);
  const auto elsewhere = eventsNamed("Elsewhere", kMeasured);
  const auto began = std::chrono::steady_clock::now();
  const double unneeded = bytesEach(kEventsOfAnHour, [&](std::size_t i) { host.track(elsewhere[i % kMeasured]); });
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  report("no plan needs them: all 3,600,000 of an hour", unneeded);
  fmt::print("  {:<62} {:>8.0f} ns\n", "  the caller's time for one of them",
             took.count() / static_cast<double>(kEventsOfAnHour) * 1e9);
  const auto records = eventsNamed(eventName(0), kMeasured);
  report("plans need them, the host keeps its records all the same",
         bytesEach(kMeasured, [&](std::size_t i) { host.track(records[i]); }));
  const double own = bytesEach(kMeasured, [&](std::size_t) { host.track(eventsNamed(eventName(0), 1).front()); });
  report("plans need them, the queue alone keeps the records", own);
  return 0;
}

}  // namespace kaleo::bench
