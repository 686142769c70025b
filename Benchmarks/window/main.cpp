#include "cost/Measurement.h"
#include "window/Measurements.h"
#include "window/Watch.h"

namespace {

using namespace kaleo::bench;

template <int (*run)()>
int withApplication() {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  int count = 1;
  char name[] = "kaleo_window_cost";
  char* values[] = {name, nullptr};
  const WatchedApplication application(count, values);
  return run();
}

constexpr Measurement kMeasurements[] = {{"frames", withApplication<costOfFrames>},
                                         {"first", withApplication<costOfTheFirstFrame>},
                                         {"host", withApplication<costToABusyHost>},
                                         {"many", withApplication<costOfManyPopups>}};

}  // namespace

int main(int argc, char** argv) { return runMeasurements(kMeasurements, argc, argv); }
