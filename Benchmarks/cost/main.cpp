#include <fmt/format.h>

#include "cost/Cost.h"
#include "cost/Measurement.h"

namespace {

using namespace kaleo::bench;

constexpr Measurement kMeasurements[] = {
    {"calls", costOfCalls},
    {"queue", costOfQueuedEvents},
    {"start", costOfStart},
    {"idle", costOfIdling},
    {"memory", [] { return fmt::print("Memory of a running library, over that of its process before\n"), costInMemory(0); }},
    {"memory-100", [] { return costInMemory(100); }},
    {"memory-1000", [] { return costInMemory(1000); }},
};

}  // namespace

int main(int argc, char** argv) { return runMeasurements(kMeasurements, argc, argv); }
