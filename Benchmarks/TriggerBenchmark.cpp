#include <benchmark/benchmark.h>

#include <algorithm>
#include <span>
#include <vector>

#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"
#include "Library.h"
#include "Workload.h"

// The whole way of an event on the trigger queue, as KLTrigger::triggerEvent goes it.

namespace kaleo::bench {
namespace {

/// How often the queues get their turn, which is not timed: often enough that little waits there.
constexpr std::size_t kEventsBetweenWrites = 256;

/// `pause(next)` is called, and not timed, after every `between` events; `next` is the place of the one that follows.
template <class Pause>
void triggerEach(benchmark::State& state, Library& library, const std::vector<KLValue>& records, std::size_t between, Pause pause) {
  std::size_t next = 0;
  for (auto _ : state) {
    library.trigger(records[next]);
    if (++next == records.size()) next = 0;
    if (next % between != 0) continue;
    state.PauseTiming();
    pause(next);
    state.ResumeTiming();
  }
  library.writeStore();
}

void triggerEach(benchmark::State& state, Library& library, const std::vector<KLValue>& records) {
  triggerEach(state, library, records, kEventsBetweenWrites, [&library](std::size_t) { library.writeStore(); });
}

void trigger(benchmark::State& state, Recorder recorder, bool logger, bool usesGlobalLimit) {
  Library& used = library(static_cast<std::size_t>(state.range(0)), usesGlobalLimit);
  used.setObservers(recorder, logger);
  triggerEach(state, used, events());
  used.setObservers(Recorder::None, false);
}

/// With the recorder, which gets its turn when as much has been recorded as it writes at once, or the store's turn has long come.
/// `byTrigger` false: what it records comes while nothing is timed, so that all but the handing over is the same.
void triggerRecording(benchmark::State& state, bool byTrigger) {
  constexpr std::size_t kMostEvents = 1536;
  const auto plans = static_cast<std::size_t>(state.range(0));
  const std::size_t decisions = std::max<std::size_t>(1, plans / kEventNames);
  const std::size_t between = std::min(kMostEvents, KLCampaignDiagnosis::kBatch / (decisions + 1));
  Library& used = library(plans);
  used.recordDecisions(byTrigger);
  triggerEach(state, used, events(), between, [&](std::size_t next) {
    const std::size_t end = next == 0 ? events().size() : next;
    if (!byTrigger) used.recordAside(std::span(events()).subspan(end - std::min(end, between), std::min(end, between)), decisions);
    used.writeStore();
  });
  used.recordDecisions(false);
}

void triggerUnneeded(benchmark::State& state) {
  static const auto records = eventsNamed("Elsewhere", kEventNames);
  triggerEach(state, library(static_cast<std::size_t>(state.range(0))), records);
}

Library& tenListening(std::size_t plans) {
  static Library few(answerWithTenListening(10));
  static Library many(answerWithTenListening(10'000));
  return plans == 10 ? few : many;
}

const std::vector<KLValue>& listenedEvents() {
  static const auto records = eventsNamed(eventName(0), 10'000);
  return records;
}

void triggerTenListening(benchmark::State& state) {
  triggerEach(state, tenListening(static_cast<std::size_t>(state.range(0))), listenedEvents());
}

void matchTenListening(benchmark::State& state) {
  Library& used = tenListening(static_cast<std::size_t>(state.range(0)));
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(used.match(listenedEvents()[next]));
    if (++next == listenedEvents().size()) next = 0;
  }
}

}  // namespace

#define KALEO_PLANS RangeMultiplier(10)->Range(10, 10'000)
BENCHMARK_CAPTURE(trigger, alone, Recorder::None, false, false)->Name("trigger")->KALEO_PLANS;
BENCHMARK_CAPTURE(trigger, recorder, Recorder::Batches, false, false)->Name("trigger/recorder")->KALEO_PLANS;
BENCHMARK_CAPTURE(trigger, contents, Recorder::Contents, false, false)->Name("trigger/recorder_contents")->KALEO_PLANS;
// What they differ by is less than what two runs of one of them may: more of them, and shorter ones, as most of the time is pauses.
#define KALEO_RECORDED RangeMultiplier(10)->Range(10, 1000)->Repetitions(15)->MinTime(0.1)
BENCHMARK_CAPTURE(triggerRecording, own, true)->Name("trigger/diagnosis")->KALEO_RECORDED;
BENCHMARK_CAPTURE(triggerRecording, aside, false)->Name("trigger/diagnosis_aside")->KALEO_RECORDED;
BENCHMARK_CAPTURE(trigger, logger, Recorder::None, true, false)->Name("trigger/logger")->KALEO_PLANS;
BENCHMARK_CAPTURE(trigger, both, Recorder::Batches, true, false)->Name("trigger/recorder+logger")->KALEO_PLANS;
BENCHMARK_CAPTURE(trigger, limit, Recorder::None, false, true)->Name("trigger/global_limit")->KALEO_PLANS;
BENCHMARK(triggerUnneeded)->Name("trigger/unneeded")->KALEO_PLANS;
BENCHMARK(triggerTenListening)->Name("trigger/ten_listen")->Arg(10)->Arg(10'000);
BENCHMARK(matchTenListening)->Name("library/match/ten_listen")->Arg(10)->Arg(10'000);
#undef KALEO_RECORDED
#undef KALEO_PLANS

}  // namespace kaleo::bench
