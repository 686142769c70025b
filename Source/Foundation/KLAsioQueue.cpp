#include "Foundation/KLAsioQueue.h"

#define ASIO_STANDALONE 1
#include <algorithm>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <future>
#include <mutex>

#include "Foundation/KLThreadStart.h"

namespace kaleo {
namespace {

/// Longer delays mean "never"; the bound keeps the clock's arithmetic from overflowing.
constexpr double kMaxDelaySeconds = 10.0 * 365 * 86400;

/// The queues whose tasks the calling thread is inside of, innermost first.
struct Frame {
  const void* queue;
  const Frame* outer;
};
thread_local const Frame* innermost = nullptr;

class FrameScope {
 public:
  explicit FrameScope(const void* queue) : frame_{queue, innermost} { innermost = &frame_; }
  ~FrameScope() { innermost = frame_.outer; }
  FrameScope(const FrameScope&) = delete;
  FrameScope& operator=(const FrameScope&) = delete;

 private:
  Frame frame_;
};

/// The last part of a label that is no object's address: "TimerQueue" of "org.kaleo.TimerQueue.0x55d0".
std::string suffix(std::string label) {
  const std::size_t last = label.rfind('.');
  if (last != label.npos && label.compare(last + 1, 2, "0x") == 0) label.resize(last);
  return label.substr(label.rfind('.') + 1);
}

}  // namespace

struct KLAsioQueue::State {
  State(std::string l, bool s) : label(std::move(l)), serial(s) {}

  const std::string label;
  const bool serial;
  std::mutex gate;       ///< orders posting against stopping
  bool stopped = false;  ///< guarded by gate
  std::mutex turn;       ///< held by a serial queue's running task
  /// Last, so that tasks which die with it find the rest alive. Without a concurrency hint: under a hint of 1 Asio keeps what a
  /// task posts in a list of its own, behind what others post later.
  asio::io_context loop;

  bool isStopped() {
    std::lock_guard lock(gate);
    return stopped;
  }

  bool isCurrent() const {
    const Frame* frame = innermost;
    while (frame && frame->queue != this) frame = frame->outer;
    return frame != nullptr;
  }

  void runInPlace(const Task& task) const {
    try {
      task();
    } catch (...) {  // a task's fault stays its own
    }
  }

  std::unique_lock<std::mutex> takeTurn() { return serial ? std::unique_lock(turn) : std::unique_lock(turn, std::defer_lock); }

  void run(const Task& task) {
    const auto alone = takeTurn();
    const FrameScope scope(this);
    runInPlace(task);
  }

  /// The task dies while it still counts as running: what it holds may use the queue in its destructor.
  void consume(Task& task) {
    const auto alone = takeTurn();
    const FrameScope scope(this);
    runInPlace(task);
    task = nullptr;
  }

  void runLoop() {
    const auto work = asio::make_work_guard(loop);
    loop.run();
  }

  /// Answers false, leaving `handler` alone, when the queue has been stopped.
  template <class Handler>
  bool post(Handler& handler) {
    std::lock_guard lock(gate);
    if (!stopped) asio::post(loop, std::move(handler));
    return !stopped;
  }
};

KLAsioQueue::KLAsioQueue(std::string label, int threadCount) : state_(std::make_shared<State>(std::move(label), threadCount == 1)) {
  for (int i = 0; i < threadCount; ++i)
    threads_.push_back(KLStartThread(suffix(state_->label), [state = state_] { state->runLoop(); }));
}

KLAsioQueue::~KLAsioQueue() { stop(); }

void KLAsioQueue::stop() {
  {
    std::lock_guard lock(state_->gate);
    if (state_->stopped) return;
    state_->stopped = true;
    // Behind all that was accepted; pending timers die with the loop.
    asio::post(state_->loop, [state = state_.get()] { state->loop.stop(); });
  }
  for (auto& thread : threads_) {
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();  // stopped by a task of its own: the thread ends after it
    } else {
      thread.join();
    }
  }
}

void KLAsioQueue::async(Task task) {
  auto handler = [state = state_.get(), task = std::move(task)]() mutable { state->consume(task); };
  state_->post(handler);
}

void KLAsioQueue::asyncAfter(double seconds, Task task) {
  if (!(seconds > 0)) return async(std::move(task));
  const std::chrono::duration<double> delay(std::min(seconds, kMaxDelaySeconds));
  std::lock_guard lock(state_->gate);
  if (state_->stopped) return;
  auto timer = std::make_shared<asio::steady_timer>(state_->loop, std::chrono::ceil<asio::steady_timer::duration>(delay));
  timer->async_wait([state = state_.get(), timer, task = std::move(task)](const asio::error_code&) mutable {
    if (!state->isStopped()) state->consume(task);
  });
}

bool KLAsioQueue::isCurrent() const { return state_->isCurrent(); }

void KLAsioQueue::sync(const Task& task) {
  if (state_->isCurrent()) return state_->runInPlace(task);
  std::promise<void> done;
  auto finished = done.get_future();
  auto handler = [state = state_.get(), &task, done = std::move(done)]() mutable {
    state->run(task);
    done.set_value();
  };
  if (!state_->post(handler)) return state_->run(task);
  finished.wait();
}

const std::string& KLAsioQueue::label() const { return state_->label; }

}  // namespace kaleo
