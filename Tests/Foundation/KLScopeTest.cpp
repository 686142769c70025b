#include "Foundation/KLScope.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "Foundation/KLThreads.h"

namespace kaleo {
namespace {

TEST(KLScope, WorkRunsOnceAndNeverAfterItWasDropped) {
  KLScope scope;
  int runs = 0;
  const auto first = scope.keep([&] { ++runs; });
  const auto second = scope.keep([&] { ++runs; });
  scope.run(first);
  scope.run(first);
  scope.drop(second);
  scope.run(second);
  EXPECT_EQ(runs, 1);
}

TEST(KLScope, CloseDropsWhatHasNotBegunAndWhatItHolds) {
  KLScope scope;
  const auto held = std::make_shared<int>(1);
  const auto ticket = scope.keep([held] { FAIL(); });
  EXPECT_EQ(held.use_count(), 2);
  scope.close();
  EXPECT_EQ(held.use_count(), 1);
  scope.run(ticket);
  EXPECT_EQ(scope.keep([] {}), 0u);
}

TEST(KLScope, CloseWaitsForWorkOnAnotherThread) {
  const auto scope = std::make_shared<KLScope>();
  KLThreadThreading threads;
  KLScopedQueue queue(threads.backgroundQueue(), scope);
  std::promise<void> began, go;
  std::atomic<bool> done{false};
  queue.async([&] {
    began.set_value();
    go.get_future().wait();
    done = true;
  });
  began.get_future().wait();
  auto closing = std::async(std::launch::async, [&] {
    scope->close();
    return done.load();
  });
  while (!scope->isClosed()) std::this_thread::yield();
  EXPECT_FALSE(done);
  go.set_value();
  EXPECT_TRUE(closing.get());
}

TEST(KLScope, WorkMayCloseItsOwnScope) {
  KLScope scope;
  const auto ticket = scope.keep([&] { scope.close(); });
  scope.run(ticket);
  EXPECT_TRUE(scope.isClosed());
}

TEST(KLScopedHTTPSession, AnswerAfterTheCloseReachesNobody) {
  struct Session : KLHTTPSession {
    std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest, Completion completion) override {
      pending = std::move(completion);
      return nullptr;
    }
    Completion pending;
  };
  const auto session = std::make_shared<Session>();
  const auto scope = std::make_shared<KLScope>();
  KLScopedHTTPSession scoped(session, scope);
  int status = 0;
  scoped.dataTask({}, [&](KLHTTPResult result) { status = result.response->status; });
  session->pending({KLHTTPResponse{200, {}, {}}, {}});
  EXPECT_EQ(status, 200);
  scoped.dataTask({}, [&](KLHTTPResult) { FAIL(); });
  scope->close();
  session->pending({KLHTTPResponse{200, {}, {}}, {}});
}

}  // namespace
}  // namespace kaleo
