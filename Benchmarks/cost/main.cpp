#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "cost/Cost.h"

namespace {

using namespace kaleo::bench;

struct Measurement {
  const char* name;
  int (*run)();
};

constexpr Measurement kMeasurements[] = {
    {"calls", costOfCalls},
    {"queue", costOfQueuedEvents},
    {"start", costOfStart},
    {"idle", costOfIdling},
    {"memory", [] { return fmt::print("Memory of a running library, over that of its process before\n"), costInMemory(0); }},
    {"memory-100", [] { return costInMemory(100); }},
    {"memory-1000", [] { return costInMemory(1000); }},
};

int runHere(const std::string& name) {
  for (const Measurement& measurement : kMeasurements) {
    if (measurement.name == name) return measurement.run();
  }
  fmt::print(stderr, "kaleo_cost: there is no measurement \"{}\"\n", name);
  return 2;
}

/// In a process of its own, so that none finds what another has left.
int runApart(const char* program, const char* name) {
  std::fflush(stdout);
  const pid_t process = fork();
  if (process == 0) {
    execl(program, program, name, nullptr);
    _exit(2);
  }
  int status = 0;
  return process > 0 && waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2) return runHere(argv[1]);
  int failures = 0;
  for (const Measurement& measurement : kMeasurements) failures += runApart("/proc/self/exe", measurement.name) != 0;
  return failures == 0 ? 0 : 1;
}
