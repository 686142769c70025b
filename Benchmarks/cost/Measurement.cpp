#include "cost/Measurement.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

namespace kaleo::bench {
namespace {

int runApart(const char* name) {
  std::fflush(stdout);
  constexpr const char* kThisProgram = "/proc/self/exe";
  const pid_t process = fork();
  if (process == 0) {
    execl(kThisProgram, kThisProgram, name, nullptr);
    _exit(2);
  }
  int status = 0;
  return process > 0 && waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int runMeasurements(std::span<const Measurement> measurements, int argc, char** argv) {
  int failures = 0;
  for (const Measurement& measurement : measurements) {
    if (argc == 2 && std::string_view(argv[1]) == measurement.name) return measurement.run();
    if (argc != 2) failures += runApart(measurement.name) != 0;
  }
  if (argc == 2) return fmt::print(stderr, "there is no measurement \"{}\"\n", argv[1]), 2;
  return failures == 0 ? 0 : 1;
}

}  // namespace kaleo::bench
