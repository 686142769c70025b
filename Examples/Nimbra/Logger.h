#pragma once

#include <kaleo/KLClock.h>
#include <kaleo/KLHost.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "Nimbra/Files.h"

namespace nimbra {

/// One line of the log.
struct LogLine {
  double time = 0;  ///< seconds since 1970
  int level = 0;    ///< 1: errors and refusals, 4: progress and decisions, 8: details
  std::string message;
  std::string place;  ///< such as "KLTrigger.cpp:120"
};

/// Hands log lines to a callback and, when asked to, to a file.
/// Threads: any; the callback runs on the thread that logs, with no lock held.
class Logger final : public kaleo::NBLog {
 public:
  using Sink = std::function<void(const LogLine&)>;

  /// An empty `sink` or `file` leaves it out.
  Logger(std::shared_ptr<kaleo::KLClock> clock, Sink sink, const std::filesystem::path& file);

  void log(bool asynchronous, const std::string& message, int level, const char* file, const char* function, int line,
           int context) override;

 private:
  const std::shared_ptr<kaleo::KLClock> clock_;
  const Sink sink_;
  const std::unique_ptr<LineFile> file_;
};

}  // namespace nimbra
