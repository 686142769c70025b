#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "Summary.h"

namespace {

// Defaults that make ratios trustworthy on a busy machine; what is given on the command line comes after them and counts.
constexpr const char* kDefaults[] = {"--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
                                     "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2"};
constexpr const char* kMemoryDirectory = "/dev/shm";

}  // namespace

int main(int argc, char** argv) {
  // The store's file lies in memory where the system has such a place; TMPDIR moves it.
  if (std::filesystem::is_directory(kMemoryDirectory)) setenv("TMPDIR", kMemoryDirectory, 0);
  std::vector<char*> arguments{argv[0]};
  for (const char* argument : kDefaults) arguments.push_back(const_cast<char*>(argument));
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  // Atomic counts are atomic only once a process has had a second thread, as every host has.
  std::thread([] {}).join();
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  kaleo::bench::Summary summary;
  benchmark::RunSpecifiedBenchmarks(&summary);
  summary.print();
  return 0;
}
