#pragma once

#include <span>

namespace kaleo::bench {

/// One that a program makes in a process of its own, so that none finds what another has left.
struct Measurement {
  const char* name;
  int (*run)();  ///< prints its figures and answers the exit status
};

/// Makes the measurement that the command line names, in this process; without a name all of them, each in a process of its own.
/// Answers the exit status.
int runMeasurements(std::span<const Measurement> measurements, int argc, char** argv);

}  // namespace kaleo::bench
