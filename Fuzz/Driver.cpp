// Runs a target without libFuzzer: the inputs of the corpus, then changed ones, in a process of their own. The process that watches
// it names the input under way when that process crashes, takes too long or takes too much memory, and keeps it in a file.
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstring>
#include <ctime>
#include <fstream>
#include <new>
#include <sstream>

#include "Corpus.h"
#include "Mutator.h"
#include "Options.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

using Steady = std::chrono::steady_clock;

/// What the two processes share; the bytes of the input under way follow.
struct Progress {
  std::atomic<std::uint64_t> runs{0};  ///< begun
  std::atomic<std::uint64_t> length{0};
  std::atomic<bool> done{false};  ///< all inputs have been run

  char* bytes() { return reinterpret_cast<char*>(this + 1); }
  std::string input() { return {bytes(), length.load()}; }
};

Progress* shareProgress(std::size_t maxLength) {
  void* memory = mmap(nullptr, sizeof(Progress) + maxLength, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : new (memory) Progress;
}

// The process that works.

void run(Progress& progress, const std::string& input) {
  std::memcpy(progress.bytes(), input.data(), input.size());
  progress.length = input.size();
  ++progress.runs;
  // A copy without room behind it, so that reading beyond the end is found.
  const std::vector<std::uint8_t> exact(input.begin(), input.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

int work(const Options& options, Progress& progress) {
  const std::vector<std::string> corpus = loadCorpus(options.inputs, options.maxLength);
  for (const std::string& input : corpus) run(progress, input);
  const bool fuzzes = options.inputs.empty() || std::filesystem::is_directory(options.inputs.front());
  const auto end = Steady::now() + std::chrono::duration<double>(options.maxTotalTime);
  Mutator mutator(corpus, options.seed, options.maxLength);
  while (fuzzes && progress.runs < options.runs && (options.maxTotalTime <= 0 || Steady::now() < end)) {
    run(progress, mutator.next());
  }
  progress.done = true;
  return EXIT_SUCCESS;
}

// The process that watches.

double processorSeconds(pid_t worker) {
  clockid_t clock = 0;
  timespec time{};
  if (clock_getcpuclockid(worker, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::size_t residentMegabytes(pid_t worker) {
  std::ifstream file("/proc/" + std::to_string(worker) + "/statm");
  std::size_t total = 0, resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) >> 20;
}

class Watch {
 public:
  /// `alive`: a pipe's reading end, which hangs up when the worker ends.
  Watch(const Options& options, Progress& progress, pid_t worker, int alive)
      : options_(options), progress_(progress), worker_(worker), alive_(alive) {}

  /// Waits for the worker's end; answers whether all was well.
  bool wait() {
    constexpr int kLookMilliseconds = 100;
    pollfd ended{alive_, POLLIN, 0};
    while (poll(&ended, 1, kLookMilliseconds) == 0) {
      if (!isOverLimit()) continue;
      kill(worker_, SIGKILL);
      break;
    }
    int status = 0;
    waitpid(worker_, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS) return true;
    report();
    return false;
  }

 private:
  bool isOverLimit() {
    const double now = processorSeconds(worker_);
    if (progress_.runs != runs_ || progress_.done) {
      runs_ = progress_.runs;
      since_ = now;
      sinceWall_ = Steady::now();
    }
    mostMegabytes_ = std::max(mostMegabytes_, residentMegabytes(worker_));
    if (now - since_ > options_.timeout) {
      reason_ = "took too long";
    } else if (Steady::now() - sinceWall_ > kStandstill) {
      reason_ = "stood still";
    } else if (mostMegabytes_ > options_.memoryLimit) {
      reason_ = "took too much memory";
    }
    return reason_ != nullptr;
  }

  void report() {
    if (progress_.done) {  // a leak shows at the end only
      std::fprintf(stderr, "fuzz: failed at the end of %" PRIu64 " runs, seed %" PRIu64 "\n", progress_.runs.load(), options_.seed);
      return;
    }
    const std::string input = progress_.input();
    const std::string name = fileName(input);
    std::ofstream(name, std::ios::binary) << input;
    std::fprintf(stderr, "fuzz: run %" PRIu64 " of seed %" PRIu64 " %s; input of %zu bytes kept in %s\n", progress_.runs.load(),
                 options_.seed, reason_ ? reason_ : "crashed", input.size(), name.c_str());
  }

  std::string fileName(const std::string& input) const {
    std::ostringstream name;
    name << options_.artifactPrefix << (reason_ ? "limit-" : "crash-") << std::hex << std::hash<std::string>{}(input);
    return name.str();
  }

  /// Without a step this long a worker waits for something that never comes, however busy the machine is.
  static constexpr std::chrono::seconds kStandstill{60};

  const Options& options_;
  Progress& progress_;
  const pid_t worker_;
  const int alive_;
  std::uint64_t runs_ = 0;
  double since_ = 0;  ///< processor time of the worker when its run began
  Steady::time_point sinceWall_ = Steady::now();
  std::size_t mostMegabytes_ = 0;
  const char* reason_ = nullptr;  ///< of its end, when the watch made it
};

}  // namespace
}  // namespace kaleo::fuzz

int main(int count, char** arguments) {
  using namespace kaleo::fuzz;
  const auto options = Options::fromArguments(count, arguments);
  if (!options) return EXIT_FAILURE;
  Progress* const progress = shareProgress(options->maxLength);
  int alive[2];
  const pid_t worker = progress && pipe(alive) == 0 ? fork() : -1;
  if (worker < 0) {
    std::perror("fuzz");
    return EXIT_FAILURE;
  }
  if (worker == 0) return work(*options, *progress);
  close(alive[1]);
  const bool passed = Watch(*options, *progress, worker, alive[0]).wait();
  std::printf("%" PRIu64 " runs\n", progress->runs.load());
  return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}
