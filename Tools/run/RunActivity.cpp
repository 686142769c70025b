#include "run/RunActivity.h"

#include "Core/Base/Network/KLNetwork.h"
#include "Foundation/KLURL.h"

namespace kaleo::tools {
namespace {

constexpr std::string_view kTriggerQueue = "TriggerQueue";

class CountedQueue final : public KLQueue {
 public:
  CountedQueue(std::shared_ptr<KLQueue> queue, std::shared_ptr<RunActivity> activity, bool startsLibrary)
      : queue_(std::move(queue)), activity_(std::move(activity)), startsLibrary_(startsLibrary) {}

  void async(Task task) override {
    const bool isStart = startsLibrary_.exchange(false);
    queue_->async(
        [work = std::make_shared<RunActivity::Work>(activity_), activity = activity_, isStart, task = std::move(task)]() mutable {
          try {
            task();
          } catch (...) {  // a task's fault stays its own
          }
          task = nullptr;
          if (isStart) activity->setReady();
          work.reset();
        });
  }
  void asyncAfter(double seconds, Task task) override { queue_->asyncAfter(seconds, std::move(task)); }
  bool isCurrent() const override { return queue_->isCurrent(); }
  void sync(const Task& task) override { queue_->sync(task); }
  const std::string& label() const override { return queue_->label(); }

 private:
  const std::shared_ptr<KLQueue> queue_;
  const std::shared_ptr<RunActivity> activity_;
  std::atomic<bool> startsLibrary_;
};

bool isCounted(const std::string& url) {
  const auto parsed = KLURL::parse(url);
  return parsed &&
         (parsed->path().find(kUserPopupConfigs) != std::string::npos || parsed->path().find(kPopupWindows) != std::string::npos);
}

}  // namespace

std::shared_ptr<KLQueue> CountedThreading::makeSerialQueue(std::string label) {
  const bool startsLibrary = label.ends_with(kTriggerQueue);
  return std::make_shared<CountedQueue>(threading_->makeSerialQueue(std::move(label)), activity_, startsLibrary);
}

std::shared_ptr<KLQueue> CountedThreading::backgroundQueue() {
  return std::make_shared<CountedQueue>(threading_->backgroundQueue(), activity_, false);
}

std::shared_ptr<KLHTTPTask> CountedHTTPSession::dataTask(KLHTTPRequest request, Completion completion) {
  if (!isCounted(request.url)) return session_->dataTask(std::move(request), std::move(completion));
  return session_->dataTask(std::move(request), [work = std::make_shared<RunActivity::Work>(activity_),
                                                 completion = std::move(completion)](KLHTTPResult result) mutable {
    completion(std::move(result));
    completion = nullptr;
    work.reset();
  });
}

}  // namespace kaleo::tools
