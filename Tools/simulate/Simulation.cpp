#include "simulate/Simulation.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include "Foundation/KLCalendar.h"
#include "Foundation/KLDescriptor.h"
#include "Foundation/KLJSON.h"
#include "files/FileReading.h"
#include "lines/LineReader.h"
#include "simulate/SimulationPage.h"
#include "simulate/SimulationProgress.h"
#include "simulate/SimulationReport.h"
#include "simulate/SimulationSummary.h"
#include "simulate/Simulator.h"

namespace kaleo::tools {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isBlank(std::string_view line) {
  if (line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

/// Why nothing can be written to `file`, as far as that shows before the run; "" when something can.
std::string whyUnwritable(const std::filesystem::path& file) {
  std::error_code ignored;
  if (std::filesystem::is_directory(file, ignored)) return "it is a directory";
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
  const bool isThere = std::filesystem::exists(file, ignored);
  return ::access(isThere ? file.c_str() : folder.c_str(), W_OK) == 0 ? "" : std::strerror(errno);
}

/// One run over an open stream.
class Run {
 public:
  Run(const SimulationArguments& arguments, const SimulationOutput& output, const SimulationStore& store, int descriptor)
      : arguments_(arguments),
        output_(output),
        store_(store),
        reader_(descriptor, KLJSON::kMaxBytes),
        progress_(output.err, output.isTerminal) {}

  int run() {
    for (std::string line;;) {
      switch (reader_.next(line)) {
        case LineReader::Read::Line:
          handle(++line_, line);
          break;
        case LineReader::Read::TooLong:
          report(++line_, fmt::format("longer than {} bytes", KLJSON::kMaxBytes));
          break;
        case LineReader::Read::End:
          return finish();
        case LineReader::Read::Failed:
          return fail(fmt::format("{} cannot be read: {}", arguments_.events, std::strerror(errno)));
        case LineReader::Read::Interrupted:
          break;
      }
      if (isSignalled()) return interrupt();
      if (!output_.out) return giveUp();
      progress_.handled(line_);
    }
  }

 private:
  void handle(std::uint64_t number, const std::string& line) {
    if (isBlank(line)) return;
    std::string fault;
    const auto step = parseSimulationStep(line, fault);
    if (!step) return report(number, fault);
    // At the first line, as the library starts at a time of day and there is none before.
    if (!simulator_) start(step->at);
    const SimulationResult result = simulator_->handle(*step);
    if (countsPlans()) count(number, *step, result);
    if (!arguments_.summary) output_.out << reportOf(number, *step, result) << '\n';
  }

  void start(double now) {
    simulator_.emplace(store_, Simulator::Options{arguments_.timeZone, arguments_.onScreenSeconds, countsPlans()}, now);
    summary_.configured(simulator_->configuration(), {});
  }

  bool countsPlans() const { return arguments_.summary || !arguments_.report.empty(); }

  void count(std::uint64_t number, const SimulationStep& step, const SimulationResult& result) {
    if (step.operation == SimulationStep::Operation::Config) summary_.configured(simulator_->configuration(), result);
    if (step.operation != SimulationStep::Operation::Track) return;
    summary_.tracked(result);
    if (!arguments_.report.empty()) page_.tracked(number, result);
  }

  bool writePage() const {
    const bool isStandardInput = arguments_.events == kStandardInput;
    std::ofstream file(arguments_.report, std::ios::binary);
    file << page_.html(isStandardInput ? "standard input" : arguments_.events, timeZone(), summary_);
    return static_cast<bool>(file.flush());
  }

  /// The run's time zone by name: whoever opens the page may be in another one.
  std::string timeZone() const {
    return arguments_.timeZone.empty() ? KLCalendar({}, KLWeekday::Monday).formatDate(0, "VV") : arguments_.timeZone;
  }

  void report(std::uint64_t number, const std::string& fault) {
    someBad_ = true;
    progress_.clear();
    output_.err << "kaleo simulate: line " << number << ": " << fault << '\n';
  }

  int finish() {
    progress_.clear();
    if (arguments_.summary) output_.out << summary_.table(output_.coloured);
    output_.out.flush();
    if (isSignalled()) return interrupt();
    if (!output_.out) return giveUp();
    if (!arguments_.report.empty() && !writePage()) {
      return fail(fmt::format("{} cannot be written: {}", arguments_.report.string(), std::strerror(errno)));
    }
    std::string error;
    if (simulator_ && !simulator_->close()) return fail("the state cannot be written");
    if (simulator_ && !store_.save(error)) return fail(error);
    return someBad_ ? kSomeLinesBad : kSimulated;
  }

  /// Without a word: whoever owns the output says what is wrong with it.
  int giveUp() {
    progress_.clear();
    return kCannotSimulate;
  }

  int fail(const std::string& reason) {
    progress_.clear();
    output_.err << "kaleo simulate: " << reason << '\n';
    return kCannotSimulate;
  }

  int interrupt() {
    progress_.clear();
    output_.out.flush();
    return kSimulationSignalled + *output_.signal;
  }

  bool isSignalled() const { return output_.signal && *output_.signal != 0; }

  const SimulationArguments& arguments_;
  const SimulationOutput& output_;
  const SimulationStore& store_;
  LineReader reader_;
  SimulationProgress progress_;
  SimulationSummary summary_;
  SimulationPage page_;
  std::optional<Simulator> simulator_;
  std::uint64_t line_ = 0;
  bool someBad_ = false;
};

int fail(const SimulationOutput& output, const std::string& reason) {
  output.err << "kaleo simulate: " << reason << '\n';
  return kCannotSimulate;
}

}  // namespace

int simulate(const SimulationArguments& arguments, const SimulationOutput& output) {
  if (!arguments.timeZone.empty() && !KLCalendar::isKnownTimeZone(arguments.timeZone)) {
    return fail(output, fmt::format("unknown time zone: {}", arguments.timeZone));
  }
  if (!std::isfinite(arguments.onScreenSeconds) || arguments.onScreenSeconds < 0) {
    return fail(output, "--on-screen takes a number of seconds, 0 or more");
  }
  std::error_code ignored;
  if (!arguments.report.empty() && std::filesystem::equivalent(arguments.events, arguments.report, ignored)) {
    return fail(output, fmt::format("--report {} would write over the events themselves", arguments.report.string()));
  }
  if (const std::string reason = whyUnwritable(arguments.report); !arguments.report.empty() && !reason.empty()) {
    return fail(output, fmt::format("{} cannot be written: {}", arguments.report.string(), reason));
  }
  const bool isStandardInput = arguments.events == kStandardInput;
  const KLDescriptor file(isStandardInput ? -1 : ::open(arguments.events.c_str(), O_RDONLY | O_CLOEXEC));
  if (!isStandardInput && !file) {
    return fail(output, fmt::format("{} cannot be read: {}", arguments.events, std::strerror(errno)));
  }
  std::string error;
  const auto store = SimulationStore::open(arguments.store, error);
  if (!store) return fail(output, error);
  return Run(arguments, output, *store, isStandardInput ? STDIN_FILENO : file.get()).run();
}

}  // namespace kaleo::tools
