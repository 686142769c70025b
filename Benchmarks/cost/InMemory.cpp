#include <fmt/format.h>
#include <malloc.h>

#include "cost/Cost.h"
#include "cost/MeasuredHost.h"
#include "cost/ProcessFigures.h"
#include "cost/ServerProcess.h"

// What a running library adds to its process.

namespace kaleo::bench {

int costInMemory(std::size_t plans) {
  const ServerProcess server(answerText(plans));
  const TemporaryDirectory files;
  malloc_trim(0);  // what making the answer has left behind
  const Memory before = processMemory();
  const std::size_t heap = heapInUse();
  MeasuredHost host(server.url(), files.path(), false);
  if (!host.startAndSettle()) return fmt::print("no event was decided\n"), 1;
  const Memory after = processMemory();
  constexpr double kMegabyte = 1e6;
  const auto more = [](std::size_t now, std::size_t then) {
    return (static_cast<double>(now) - static_cast<double>(then)) / kMegabyte;
  };
  fmt::print("  {:>5} plans: resident +{:.1f} MB, of which written to +{:.1f} MB; in use on the heap +{:.1f} MB\n", plans,
             more(after.resident, before.resident), more(after.ownDirty, before.ownDirty), more(heapInUse(), heap));
  return 0;
}

}  // namespace kaleo::bench
