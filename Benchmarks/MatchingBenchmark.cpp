#include <benchmark/benchmark.h>

#include <map>
#include <memory>

#include "FloorMatcher.h"
#include "Library.h"
#include "Workload.h"

// The conditions of plans alone: which plans' conditions hold for an event, and which of those plans comes first in serving order.

namespace kaleo::bench {
namespace {

const FloorMatcher& floorMatcher(std::size_t plans) {
  static std::map<std::size_t, std::unique_ptr<FloorMatcher>> all;
  auto& place = all[plans];
  if (!place) place = std::make_unique<FloorMatcher>(makeRules(plans));
  return *place;
}

/// The library's verdict on every event must be the floor's, else its time says nothing.
bool agrees(Library& library, const FloorMatcher& floor) {
  for (const KLValue& event : events()) {
    if (library.match(event) != floor.match(event)) return false;
  }
  return true;
}

template <class Function>
void forEachEvent(benchmark::State& state, const std::vector<KLValue>& records, Function&& function) {
  std::size_t next = 0;
  for (auto _ : state) {
    function(records[next]);
    if (++next == records.size()) next = 0;
  }
}

void matchByFloor(benchmark::State& state) {
  const FloorMatcher& floor = floorMatcher(static_cast<std::size_t>(state.range(0)));
  forEachEvent(state, events(), [&](const KLValue& event) { benchmark::DoNotOptimize(floor.match(event)); });
}

void matchByLibrary(benchmark::State& state) {
  const auto plans = static_cast<std::size_t>(state.range(0));
  static std::map<std::size_t, bool> agreed;
  if (!agreed.contains(plans)) agreed[plans] = agrees(library(plans), floorMatcher(plans));
  if (!agreed[plans]) return state.SkipWithError("library and floor decide differently");
  forEachEvent(state, events(), [&](const KLValue& event) { benchmark::DoNotOptimize(library(plans).match(event)); });
}

void unneededByFloor(benchmark::State& state) {
  const FloorMatcher& floor = floorMatcher(static_cast<std::size_t>(state.range(0)));
  static const auto records = eventsNamed("Elsewhere", kEventNames);
  forEachEvent(state, records, [&](const KLValue& event) { benchmark::DoNotOptimize(floor.isNeeded(event)); });
}

}  // namespace

BENCHMARK(matchByFloor)->Name("floor/match")->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(matchByLibrary)->Name("library/match")->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(unneededByFloor)->Name("floor/unneeded")->RangeMultiplier(10)->Range(10, 10'000);

}  // namespace kaleo::bench
