#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace kaleo::bench {

/// Prints the usual table and keeps the median of each benchmark, from which it tells at the end how the library stands to the
/// floors of the same run.
class Summary : public benchmark::ConsoleReporter {
 public:
  Summary() : ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  void print() const;

 private:
  struct Measured {
    double nanoseconds;
    std::map<std::string, double> counters;
  };

  const Measured* find(const std::string& name) const;
  /// "`what`: A, B times `floorName`", and whether that is within `times` or `nanoseconds`.
  void compare(const std::string& what, const std::string& name, const std::string& floor) const;
  void judge(const std::string& what, const std::string& name, const std::string& floor, double times, double nanoseconds) const;
  /// "`what`: A", and whether that is within `nanoseconds`.
  void reach(const std::string& what, const std::string& name, double nanoseconds) const;
  void printMemory() const;
  void printStore() const;
  void printPictures() const;
  void printLayout() const;

  std::map<std::string, Measured> medians_;  ///< by benchmark name without its repetitions
};

}  // namespace kaleo::bench
