#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <iostream>
#include <optional>
#include <variant>

#include "Foundation/KLJSON.h"
#include "Foundation/KLURL.h"
#include "files/ScratchDirectory.h"
#include "lines/LineReader.h"
#include "run/RunApplication.h"
#include "run/RunStep.h"
#include "system/EndSignals.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// Longer waits mean "for ever"; the bound keeps the clock's arithmetic from overflowing.
constexpr double kLongestWait = 10.0 * 365 * 86400;
constexpr int kSignalStatus = 128;

int fail(const std::string& reason) {
  std::cerr << fmt::format("kaleo run: {}\n", reason) << std::flush;
  return kCannotRun;
}

/// Milliseconds until `time`, as poll takes them.
int millisecondsUntil(Clock::time_point time) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1 << 30));
}

/// One run over the standard input. Threads: one.
class Run {
 public:
  Run(const RunArguments& arguments, const fs::path& directory, const EndSignals& signals)
      : signals_(signals), output_(STDOUT_FILENO), application_(arguments, directory, output_) {}

  int run() {
    application_.start();
    const bool isWhole = carryOutAll() && finish();
    const bool isStored = application_.close();
    if (signal_ != 0) return kSignalStatus + signal_;
    if (output_.isBroken()) return fail("the output cannot be written");
    if (!isWhole) return kCannotRun;
    if (!isStored) return fail("the host's store cannot be written");
    return someBad_ ? kSomeCommandsBad : kRan;
  }

 private:
  enum class Awaited { Input, Change, Neither };

  /// Waits until there is input, or a change of the application, and no longer than until `limit`. False: the run is to end.
  bool await(Awaited what, std::optional<Clock::time_point> limit = std::nullopt) {
    pollfd files[] = {{signals_.descriptor(), POLLIN, 0},
                      {output_.brokenDescriptor(), POLLIN, 0},
                      {what == Awaited::Input    ? STDIN_FILENO
                       : what == Awaited::Change ? application_.changed().descriptor()
                                                 : -1,
                       POLLIN, 0}};
    while (::poll(files, std::size(files), limit ? millisecondsUntil(*limit) : -1) < 0 && errno == EINTR) {
    }
    if (files[0].revents != 0) signal_ = signals_.take();
    if (signal_ != 0) output_.hurry();
    return signal_ == 0 && files[1].revents == 0;
  }

  /// False: the run is to end at once.
  bool carryOutAll() {
    LineReader reader(STDIN_FILENO, KLJSON::kMaxBytes, [this] { return await(Awaited::Input); });
    for (std::string line;;) {
      switch (reader.next(line)) {
        case LineReader::Read::Line:
          ++line_;
          if (!carryOut(line)) return false;
          break;
        case LineReader::Read::TooLong:
          ++line_;
          refuse(fmt::format("longer than {} bytes", KLJSON::kMaxBytes));
          break;
        case LineReader::Read::End:
          return true;
        case LineReader::Read::Failed:
          fail(fmt::format("the standard input cannot be read: {}", std::strerror(errno)));
          return false;
        case LineReader::Read::Interrupted:
          if (signal_ != 0 || output_.isBroken()) return false;
          break;
      }
    }
  }

  bool carryOut(const std::string& line) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) return true;
    std::string fault;
    const auto step = parseRunStep(line, fault);
    if (!step) return refuse(fault), true;
    return std::visit([this](const auto& what) { return carryOut(what); }, *step);
  }

  bool carryOut(const TrackStep& step) { return application_.track(step.record), true; }
  bool carryOut(const UserStep& step) { return application_.changeUser(step.user, step.notification), true; }
  bool carryOut(const AppStep& step) { return application_.post(step.notification), true; }
  bool carryOut(const OpenStep& step) { return application_.open(step.url), true; }
  bool carryOut(const FetchStep&) { return application_.fetch(), true; }

  bool carryOut(const TapStep& step) {
    if (const std::string fault = application_.tap(step.element); !fault.empty()) say(fault);
    return true;
  }

  bool carryOut(const WaitStep& step) {
    if (!wait(step)) return false;
    output_.write(KLObject{{"answer", "wait"}});
    return true;
  }

  bool wait(const WaitStep& step) {
    const auto limit = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                          std::chrono::duration<double>(std::min(step.seconds, kLongestWait)));
    const Awaited awaited = step.what == WaitStep::For::Time ? Awaited::Neither : Awaited::Change;
    for (;;) {
      application_.changed().lower();
      if (isMet(step.what)) return true;
      if (Clock::now() >= limit) {
        if (awaited == Awaited::Change) say(fmt::format("not {} after {} seconds, going on", wordOf(step.what), step.seconds));
        return true;
      }
      if (!await(awaited, limit)) return false;
    }
  }

  bool isMet(WaitStep::For what) {
    switch (what) {
      case WaitStep::For::Ready:
        return application_.isReady();
      case WaitStep::For::Idle:
        return application_.isIdle();
      case WaitStep::For::Time:
        break;
    }
    return false;
  }

  static const char* wordOf(WaitStep::For what) { return what == WaitStep::For::Ready ? "ready" : "idle"; }

  /// Lets what was asked for happen; popups that come meanwhile have no user any more.
  bool finish() {
    application_.endOfInput();
    for (;;) {
      application_.changed().lower();
      application_.dismissPopups();
      if (application_.isIdle()) return true;
      if (!await(Awaited::Change)) return false;
    }
  }

  void refuse(const std::string& fault) {
    someBad_ = true;
    say(fault);
  }
  void say(const std::string& what) const { std::cerr << fmt::format("kaleo run: line {}: {}\n", line_, what) << std::flush; }

  const EndSignals& signals_;
  LineWriter output_;
  RunApplication application_;
  std::uint64_t line_ = 0;
  bool someBad_ = false;
  int signal_ = 0;  ///< that ends the run
};

/// Two runs on the same state would write over each other's.
bool lock(const KLDescriptor& file) { return file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0; }

int runIn(const fs::path& directory, const RunArguments& arguments, const EndSignals& signals) {
  std::error_code error;
  const fs::path absolute = fs::absolute(directory, error);
  fs::create_directories(absolute, error);
  const KLDescriptor file(::open((absolute / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!file) return fail(fmt::format("{} cannot be written: {}", absolute.string(), std::strerror(errno)));
  if (!lock(file)) return fail(fmt::format("{} is in use by another run", absolute.string()));
  return Run(arguments, absolute, signals).run();
}

}  // namespace

int run(const RunArguments& arguments) {
  const auto url = KLURL::parse(arguments.server);
  if (!url || (url->scheme() != "http" && url->scheme() != "https")) {
    return fail(fmt::format("the server is no URL such as http://127.0.0.1:8080: {}", arguments.server));
  }
  ::signal(SIGPIPE, SIG_IGN);
  const EndSignals signals;
  if (!arguments.data.empty()) return runIn(arguments.data, arguments, signals);
  const ScratchDirectory scratch;
  if (scratch.path().empty()) return fail("no temporary directory can be made");
  return runIn(scratch.path(), arguments, signals);
}

}  // namespace kaleo::tools
