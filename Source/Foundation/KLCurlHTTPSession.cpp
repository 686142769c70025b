#include "Foundation/KLCurlHTTPSession.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <iterator>
#include <limits>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "Foundation/KLCurlExchange.h"
#include "Foundation/KLThreadStart.h"

namespace kaleo {
namespace {

/// Only an upper bound: sockets, libcurl's own timers and `wakeUp` end the waiting.
constexpr int kPollMilliseconds = 3600 * 1000;
/// The same where the process had no descriptors left for the wake-up when the session was made.
constexpr int kPollMillisecondsWithoutWakeUp = 100;
/// Idle connections that are kept for the next exchange.
constexpr long kKeptConnections = 16;

/// Never undone: the host may use libcurl, too.
void prepareLibcurl() {
  static const CURLcode done = curl_global_init(CURL_GLOBAL_DEFAULT);
  static_cast<void>(done);
}

struct MultiDeleter {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

using Exchange = std::shared_ptr<KLCurlExchange>;

}  // namespace

/// The event loop. Other threads leave exchanges and wishes under the lock and wake it; all else belongs to its thread.
class KLCurlHTTPSession::Loop {
 public:
  explicit Loop(KLHTTPSettings settings) : settings_(std::move(settings)), multi_(curl_multi_init()) {
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kKeptConnections);
    // One exchange at a time on a connection, with HTTP/2 too: libcurl 7.88 (Debian 12) may leave exchanges that share one waiting
    // for data that it already holds, until they time out.
    curl_multi_setopt(multi_.get(), CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_NOTHING));
  }

  void start(Exchange exchange) {
    bool isFirst = false;
    {
      std::lock_guard lock(mutex_);
      isFirst = arrived_.empty();
      arrived_.push_back(std::move(exchange));
    }
    if (isFirst) wakeUp();  // else whoever brought the first one does
  }

  /// Lets go of exchanges that have been cancelled.
  void sweep() {
    {
      std::lock_guard lock(mutex_);
      sweeping_ = true;
    }
    wakeUp();
  }

  void end() {
    {
      std::lock_guard lock(mutex_);
      ending_ = true;
    }
    wakeUp();
  }

  void run() {
    const int longest = wakeUp() ? kPollMilliseconds : kPollMillisecondsWithoutWakeUp;
    while (takeWishes()) {
      int running = 0;
      curl_multi_perform(multi_.get(), &running);
      deliver();
      curl_multi_poll(multi_.get(), nullptr, 0, std::min(longest, millisecondsToNextStart()), nullptr);
    }
    cancelAll();
  }

 private:
  using Clock = std::chrono::steady_clock;

  bool wakeUp() { return curl_multi_wakeup(multi_.get()) == CURLM_OK; }

  /// False when the session ends.
  bool takeWishes() {
    std::vector<Exchange> arrived;
    bool sweeping = false;
    {
      std::lock_guard lock(mutex_);
      if (ending_) return false;
      arrived.swap(arrived_);
      std::swap(sweeping, sweeping_);
    }
    for (auto& exchange : arrived) {
      firstDeadline_ = std::min(firstDeadline_, exchange->deadline());
      waiting_.push_back(std::move(exchange));
    }
    if (sweeping) dropCancelled();
    if (sweeping || Clock::now() >= firstDeadline_) dropOver();
    startWaiting();
    return true;
  }

  /// A configuration full of pictures must not use up the host's descriptors. Counted here, as libcurl's own limits on connections
  /// may leave exchanges waiting when one comes free.
  bool isFull() const { return active_.size() >= std::max<std::size_t>(settings_.maxExchanges, 1); }

  static bool isOver(const KLCurlExchange& exchange) { return exchange.isCancelled() || exchange.secondsLeft() <= 0; }

  /// Starts those whose turn it is. Looks at no more than those: thousands may wait, and each of them wakes the loop.
  void startWaiting() {
    while (!waiting_.empty() && !isFull()) {
      Exchange next = std::move(waiting_.front());
      waiting_.pop_front();
      if (isOver(*next)) {
        next->finish(CURLE_OPERATION_TIMEDOUT);
      } else {
        add(std::move(next));
      }
    }
  }

  /// Lets go of those that were cancelled, or have waited too long.
  void dropOver() {
    std::deque<Exchange> waiting;
    waiting.swap(waiting_);
    firstDeadline_ = Clock::time_point::max();
    for (auto& exchange : waiting) {
      if (isOver(*exchange)) {
        exchange->finish(CURLE_OPERATION_TIMEDOUT);
      } else {
        firstDeadline_ = std::min(firstDeadline_, exchange->deadline());
        waiting_.push_back(std::move(exchange));
      }
    }
  }

  /// Until one that waits can start, or may have to be let go; nothing else wakes the loop for that.
  int millisecondsToNextStart() const {
    using std::chrono::milliseconds;
    if (waiting_.empty()) return std::numeric_limits<int>::max();
    if (!isFull()) return 0;  // those just delivered have made room
    const auto left = std::chrono::ceil<milliseconds>(firstDeadline_ - Clock::now());
    return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, std::numeric_limits<int>::max()));
  }

  void add(Exchange exchange) {
    CURLcode code = exchange->prepare(settings_);
    if (code == CURLE_OK && curl_multi_add_handle(multi_.get(), exchange->easy()) != CURLM_OK) code = CURLE_FAILED_INIT;
    if (code != CURLE_OK) return exchange->finish(code);
    active_.emplace(exchange->easy(), std::move(exchange));
  }

  void deliver() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg == CURLMSG_DONE) finish(active_.find(message->easy_handle), message->data.result);
    }
  }

  using Active = std::map<CURL*, Exchange>;

  /// The code is taken by value: the message that it comes from dies with the handle.
  Active::iterator finish(Active::iterator entry, CURLcode code) {
    const Exchange exchange = std::move(entry->second);
    curl_multi_remove_handle(multi_.get(), entry->first);
    const auto next = active_.erase(entry);
    exchange->finish(code);
    return next;
  }

  void dropCancelled() {
    for (auto entry = active_.begin(); entry != active_.end();) {
      entry = entry->second->isCancelled() ? finish(entry, CURLE_ABORTED_BY_CALLBACK) : std::next(entry);
    }
  }

  void cancelAll() {
    {
      std::lock_guard lock(mutex_);
      std::move(arrived_.begin(), arrived_.end(), std::back_inserter(waiting_));
      arrived_.clear();
    }
    for (const auto& exchange : waiting_) {
      exchange->cancel();
      exchange->finish(CURLE_ABORTED_BY_CALLBACK);
    }
    for (auto& [easy, exchange] : active_) exchange->cancel();
    dropCancelled();
  }

  const KLHTTPSettings settings_;
  const std::unique_ptr<CURLM, MultiDeleter> multi_;
  Active active_;
  std::deque<Exchange> waiting_;                                ///< in the order of their arrival
  Clock::time_point firstDeadline_ = Clock::time_point::max();  ///< no later than that of any in `waiting_`

  std::mutex mutex_;  ///< guards what follows
  std::vector<Exchange> arrived_;
  bool sweeping_ = false;
  bool ending_ = false;
};

namespace {

class Task final : public KLHTTPTask {
 public:
  Task(Exchange exchange, std::function<void()> sweep) : exchange_(std::move(exchange)), sweep_(std::move(sweep)) {}
  void cancel() override {
    exchange_->cancel();
    if (exchange_->isCancelled()) sweep_();
  }

 private:
  const Exchange exchange_;
  const std::function<void()> sweep_;
};

}  // namespace

KLCurlHTTPSession::KLCurlHTTPSession(KLHTTPSettings settings) {
  prepareLibcurl();
  loop_ = std::make_shared<Loop>(std::move(settings));
  thread_ = KLStartThread("KLHTTP", [loop = loop_] { loop->run(); });
}

KLCurlHTTPSession::~KLCurlHTTPSession() {
  loop_->end();
  thread_.join();
}

std::shared_ptr<KLHTTPTask> KLCurlHTTPSession::dataTask(KLHTTPRequest request, Completion completion) {
  auto exchange = std::make_shared<KLCurlExchange>(std::move(request), std::move(completion));
  auto task = std::make_shared<Task>(exchange, [loop = std::weak_ptr(loop_)] {
    if (const auto alive = loop.lock()) alive->sweep();
  });
  loop_->start(std::move(exchange));
  return task;
}

}  // namespace kaleo
