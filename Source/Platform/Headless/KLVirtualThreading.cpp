#include "Platform/Headless/KLVirtualThreading.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kaleo {

class KLVirtualThreading::Queue final : public KLQueue {
 public:
  enum class Kind { Serial, Concurrent };

  Queue(KLVirtualThreading& threads, std::string label, Kind kind) : threads_(threads), label_(std::move(label)), kind_(kind) {}
  ~Queue() override { threads_.endQueue(this); }

  void async(Task task) override { threads_.post(this, threads_.now_, std::move(task)); }
  void asyncAfter(double seconds, Task task) override {
    threads_.post(this, threads_.now_ + std::max(seconds, 0.0), std::move(task));
  }
  bool isCurrent() const override { return !threads_.running_.empty() && threads_.running_.back() == this; }
  void sync(const Task& task) override { threads_.syncOn(this, task); }
  const std::string& label() const override { return label_; }

  bool isBlocked() const { return kind_ == Kind::Serial && threads_.isRunning(this); }

 private:
  KLVirtualThreading& threads_;
  const std::string label_;
  const Kind kind_;
};

class KLVirtualThreading::WakeUp final : public KLWakeUp {
 public:
  explicit WakeUp(KLVirtualThreading& threads) : threads_(threads) {}
  void reset() override { raised_ = false; }
  void raise() override { raised_ = true; }
  bool isRaised() const override { return raised_; }
  bool wait(double timeoutSeconds) override {
    const bool endless = timeoutSeconds < 0;
    const double end = endless ? std::numeric_limits<double>::max() : threads_.now_ + timeoutSeconds;
    while (!raised_ && threads_.runNext(end)) {
    }
    if (!raised_ && !endless) threads_.moveTo(end);
    return raised_;
  }

 private:
  KLVirtualThreading& threads_;
  bool raised_ = false;
};

KLVirtualThreading::KLVirtualThreading(double now)
    : now_(now),
      background_(std::make_shared<Queue>(*this, "background", Queue::Kind::Concurrent)),
      mainQueue_(std::make_shared<Queue>(*this, "main", Queue::Kind::Serial)) {}

KLVirtualThreading::~KLVirtualThreading() = default;

std::shared_ptr<KLQueue> KLVirtualThreading::makeSerialQueue(std::string label) {
  return std::make_shared<Queue>(*this, std::move(label), Queue::Kind::Serial);
}

std::shared_ptr<KLQueue> KLVirtualThreading::backgroundQueue() { return background_; }

std::unique_ptr<KLWakeUp> KLVirtualThreading::makeWakeUp() { return std::make_unique<WakeUp>(*this); }

void KLVirtualThreading::run() {
  while (runNext(now_)) {
  }
}

void KLVirtualThreading::advance(double seconds) {
  const double end = now_ + seconds;
  while (runNext(end)) {
  }
  moveTo(end);
}

void KLVirtualThreading::moveTo(double instant) { now_ = std::max(now_, instant); }

void KLVirtualThreading::post(Queue* queue, double due, KLQueue::Task task) {
  const auto later = std::ranges::find_if(tasks_, [&](const Entry& entry) { return entry.due > due; });
  tasks_.insert(later, Entry{due, queue, std::move(task)});
}

bool KLVirtualThreading::runNext(double end) {
  const auto next = std::ranges::find_if(tasks_, [](const Entry& entry) { return !entry.queue->isBlocked(); });
  if (next == tasks_.end() || next->due > end) return false;
  moveTo(next->due);
  runEntry(next);
  return true;
}

void KLVirtualThreading::syncOn(Queue* queue, const KLQueue::Task& task) {
  if (queue->isBlocked()) return task();
  const auto earlier = [&](const Entry& entry) { return entry.queue == queue && entry.due <= now_; };
  for (auto next = std::ranges::find_if(tasks_, earlier); next != tasks_.end(); next = std::ranges::find_if(tasks_, earlier)) {
    runEntry(next);
  }
  runOn(queue, task);
}

void KLVirtualThreading::endQueue(Queue* queue) {
  const auto ofQueue = [&](const Entry& entry) { return entry.queue == queue; };
  for (auto next = std::ranges::find_if(tasks_, ofQueue); next != tasks_.end(); next = std::ranges::find_if(tasks_, ofQueue)) {
    if (next->due <= now_) {
      runEntry(next);
    } else {
      tasks_.erase(next);
    }
  }
}

void KLVirtualThreading::runEntry(Position position) {
  const Entry entry = std::move(*position);
  tasks_.erase(position);
  runOn(entry.queue, entry.task);
}

void KLVirtualThreading::runOn(Queue* queue, const KLQueue::Task& task) {
  running_.push_back(queue);
  try {
    task();
  } catch (...) {  // as on every queue
  }
  running_.pop_back();
}

bool KLVirtualThreading::isRunning(const Queue* queue) const { return std::ranges::find(running_, queue) != running_.end(); }

}  // namespace kaleo
