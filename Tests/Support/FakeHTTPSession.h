#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLHTTPSession.h"

namespace kaleo::testing {

/// A session that keeps its requests until the test answers them, on the thread of the test.
class FakeHTTPSession final : public KLHTTPSession {
 public:
  struct Exchange {
    KLHTTPRequest request;
    Completion completion;  ///< empty once answered or cancelled
    bool cancelled = false;
  };

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override {
    auto exchange = std::make_shared<Exchange>(Exchange{std::move(request), std::move(completion)});
    exchanges_.push_back(exchange);
    return std::make_shared<Task>(std::move(exchange));
  }

  std::size_t size() const { return exchanges_.size(); }
  const Exchange& operator[](std::size_t index) const { return *exchanges_.at(index); }

  void answer(std::size_t index, KLHTTPResult result) {
    const auto completion = std::exchange(exchanges_.at(index)->completion, nullptr);
    if (completion) completion(std::move(result));
  }
  void answer(std::size_t index, KLBytes body, int status = 200) {
    answer(index, KLHTTPResult{KLHTTPResponse{status, {}, std::move(body)}, std::nullopt});
  }
  void fail(std::size_t index, KLError error) { answer(index, KLHTTPResult{std::nullopt, std::move(error)}); }

 private:
  class Task final : public KLHTTPTask {
   public:
    explicit Task(std::shared_ptr<Exchange> exchange) : exchange_(std::move(exchange)) {}
    void cancel() override {
      exchange_->cancelled = true;
      exchange_->completion = nullptr;
    }

   private:
    std::shared_ptr<Exchange> exchange_;
  };

  std::vector<std::shared_ptr<Exchange>> exchanges_;
};

}  // namespace kaleo::testing
