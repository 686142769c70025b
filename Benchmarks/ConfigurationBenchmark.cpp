#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <memory>
#include <string>
#include <utility>

#include "Core/Model/KLPopupConfig.h"
#include "Foundation/KLJSON.h"
#include "Memory.h"
#include "Workload.h"

// A configuration of 1,000 plans, from the bytes of the answer to plans ready to decide.

namespace kaleo::bench {
namespace {

const std::string& answerText() {
  static const std::string text = largeAnswer();
  return text;
}

std::shared_ptr<KLPopupConfig> parsedConfig(const KLLog& log) {
  const auto answer = KLJSON::parse(answerText());
  return KLPopupConfig::fromResponseData(&*answer, log);
}

void parseBySimdjson(benchmark::State& state) {
  const simdjson::padded_string text(answerText());
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element root;
    if (parser.parse(text).get(root)) return state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * answerText().size()));
}

/// Times `make`, and with `freesOld` also the end of what it made before; as in a running program, one ends after the next is made.
template <class Make>
void makeAgainAndAgain(benchmark::State& state, bool freesOld, Make&& make) {
  auto made = make();
  for (auto _ : state) {
    auto old = std::exchange(made, make());
    benchmark::DoNotOptimize(made);
    if (!freesOld) state.PauseTiming();
    old = {};
    if (!freesOld) state.ResumeTiming();
  }
}

void parseToValue(benchmark::State& state) {
  makeAgainAndAgain(state, false, [] { return KLJSON::parse(answerText()); });
}

void parseToPlans(benchmark::State& state, bool freesOld) {
  const KLHostRegistry registry;
  const KLLog log(registry);
  const std::size_t before = bytesInUse();
  const auto config = parsedConfig(log);
  state.counters["held"] = static_cast<double>(bytesInUse() - before);
  state.counters["bytes"] = static_cast<double>(answerText().size());
  makeAgainAndAgain(state, freesOld, [&] { return parsedConfig(log); });
}

}  // namespace

BENCHMARK(parseBySimdjson)->Name("configuration/simdjson")->Unit(benchmark::kMicrosecond);
BENCHMARK(parseToValue)->Name("configuration/value")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(parseToPlans, made, false)->Name("configuration/plans")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(parseToPlans, replaced, true)->Name("configuration/replaced")->Unit(benchmark::kMicrosecond);

}  // namespace kaleo::bench
