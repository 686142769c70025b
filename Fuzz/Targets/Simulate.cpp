// Any bytes as a recorded stream: run through the library in virtual time, as lines and as a table. Each line of the stream is
// answered, reported or blank; what is answered is in order.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <sstream>

#include "Foundation/KLDescriptor.h"
#include "Foundation/KLJSON.h"
#include "Target.h"
#include "simulate/Simulation.h"

namespace kaleo::fuzz {
namespace {

constexpr std::size_t kMostLines = 24;

/// A file in memory that holds the first lines of the input.
class Stream {
 public:
  explicit Stream(std::string_view input) : file_(memfd_create("stream", MFD_CLOEXEC)) {
    std::size_t end = 0;
    while (lines_ < kMostLines && end < input.size()) {
      const std::size_t feed = input.find('\n', end);
      end = feed == std::string_view::npos ? input.size() : feed + 1;
      ++lines_;
    }
    require(write(file_.get(), input.data(), end) == static_cast<ssize_t>(end), "the stream can be written");
  }

  std::size_t lines() const { return lines_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(file_.get()); }

 private:
  const KLDescriptor file_;
  std::size_t lines_ = 0;
};

struct Outcome {
  int status = 0;
  std::string out, err;
};

Outcome simulated(const Stream& stream, bool summary) {
  tools::SimulationArguments arguments;
  arguments.events = stream.path();
  arguments.timeZone = "Europe/Berlin";
  arguments.onScreenSeconds = 30;
  arguments.summary = summary;
  std::ostringstream out, err;
  const int status = tools::simulate(arguments, {out, err});
  return {status, out.str(), err.str()};
}

void requireOrdered(const std::string& answers, std::size_t lines) {
  std::istringstream stream(answers);
  std::int64_t before = 0;
  double clock = -std::numeric_limits<double>::infinity();
  for (std::string text; std::getline(stream, text);) {
    const auto answer = KLJSON::parse(text);
    require(answer && answer->find("op") && answer->find("records"), "an answer is JSON, with its operation and records");
    const std::int64_t line = answer->find("line")->asInteger();
    const double at = answer->find("at")->asDouble();
    require(line > before && line <= static_cast<std::int64_t>(lines), "answers are in the order of the lines");
    require(at >= clock, "the clock never goes back");
    before = line;
    clock = at;
  }
}

void run(std::string_view input) {
  const Stream stream(input);
  const Outcome lines = simulated(stream, false);
  require(lines.status == (lines.err.empty() ? tools::kSimulated : tools::kSomeLinesBad), "reported lines make the status");
  const auto count = [](const std::string& text) { return static_cast<std::size_t>(std::ranges::count(text, '\n')); };
  require(count(lines.out) + count(lines.err) <= stream.lines(), "a line is answered or reported, once");
  requireOrdered(lines.out, stream.lines());
  const Outcome table = simulated(stream, true);
  require(table.status == lines.status && table.err == lines.err, "a table reports the same lines");
}

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kaleo::fuzz::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
