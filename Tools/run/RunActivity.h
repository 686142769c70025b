#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLQueue.h"
#include "system/EventFlag.h"

namespace kaleo::tools {

/// Counts what a library has under way: tasks of its queues that have not ended (delayed ones only once they run and post others),
/// and requests for configurations and test popups. Threads: any.
class RunActivity {
 public:
  /// Counts one piece of work for as long as it lives.
  class Work {
   public:
    explicit Work(std::shared_ptr<RunActivity> activity) : activity_(std::move(activity)) { ++activity_->begun_; }
    ~Work() {
      ++activity_->ended_;
      activity_->changed_.raise();
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

   private:
    const std::shared_ptr<RunActivity> activity_;
  };

  /// How much work has begun until now.
  std::uint64_t begun() const { return begun_; }
  bool isQuiet() const {
    const std::uint64_t ended = ended_;  // first: what ends later has begun by then, and counts
    return ended == begun_;
  }

  /// The start sequence has ended.
  void setReady() {
    isReady_ = true;
    changed_.raise();
  }
  bool isReady() const { return isReady_; }

  /// Raised at every change.
  EventFlag& changed() { return changed_; }

 private:
  std::atomic<std::uint64_t> begun_{0}, ended_{0};
  std::atomic<bool> isReady_{false};
  EventFlag changed_;
};

/// Queues that count their tasks. The first task of the queue whose label ends with "TriggerQueue" is a library's start sequence.
/// Lifetime and threads: as the factory that it stands on.
class CountedThreading final : public KLThreading {
 public:
  CountedThreading(std::shared_ptr<KLThreading> threading, std::shared_ptr<RunActivity> activity)
      : threading_(std::move(threading)), activity_(std::move(activity)) {}

  std::shared_ptr<KLQueue> makeSerialQueue(std::string label) override;
  std::shared_ptr<KLQueue> backgroundQueue() override;
  std::unique_ptr<KLWakeUp> makeWakeUp() override { return threading_->makeWakeUp(); }

 private:
  const std::shared_ptr<KLThreading> threading_;
  const std::shared_ptr<RunActivity> activity_;
};

/// A session that counts requests for configurations and test popups until their completion has run. Threads: any.
class CountedHTTPSession final : public KLHTTPSession {
 public:
  CountedHTTPSession(std::shared_ptr<KLHTTPSession> session, std::shared_ptr<RunActivity> activity)
      : session_(std::move(session)), activity_(std::move(activity)) {}

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override;

 private:
  const std::shared_ptr<KLHTTPSession> session_;
  const std::shared_ptr<RunActivity> activity_;
};

}  // namespace kaleo::tools
