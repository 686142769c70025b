#include "Foundation/KLThreads.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>

#include "Foundation/KLAsioQueue.h"

namespace kaleo {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

class KLThreadsTest : public ::testing::Test {
 protected:
  std::shared_ptr<KLQueue> makeQueue() { return threading.makeSerialQueue("com.example.kaleo.queue"); }
  KLThreadThreading threading;
};

TEST_F(KLThreadsTest, ASerialQueueRunsItsTasksInOrderOnOneThread) {
  std::vector<int> order;
  std::set<std::thread::id> threads;
  {
    const auto queue = makeQueue();
    for (int i = 0; i < 100; ++i) {
      queue->async([&, i] {
        order.push_back(i);
        threads.insert(std::this_thread::get_id());
      });
    }
  }
  std::vector<int> expected(100);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(order, expected);
  EXPECT_EQ(threads.size(), 1u);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
}

TEST_F(KLThreadsTest, ATaskOfTheQueueIsOrderedAgainstTasksFromOutside) {
  const auto queue = makeQueue();
  std::string order;
  queue->sync([&] {
    queue->async([&] { order += 'a'; });
    std::thread([&] { queue->async([&] { order += 'b'; }); }).join();
    queue->async([&] { order += 'c'; });
    order += '0';
  });
  queue->sync([&] { order += 'd'; });
  EXPECT_EQ(order, "0abcd");
}

TEST_F(KLThreadsTest, ThreadsBearTheLabelsSuffixAndTakeNoSignals) {
  const auto queue = threading.makeSerialQueue("com.example.aSuffixThatIsTooLong");
  EXPECT_EQ(queue->label(), "com.example.aSuffixThatIsTooLong");
  char name[16] = {};
  sigset_t blocked;
  queue->sync([&] {
    pthread_getname_np(pthread_self(), name, sizeof name);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  });
  EXPECT_STREQ(name, "aSuffixThatIsTo");
  const auto ofAnObject = threading.makeSerialQueue("com.example.aQueue.0x7ffd10");
  ofAnObject->sync([&] { pthread_getname_np(pthread_self(), name, sizeof name); });
  EXPECT_STREQ(name, "aQueue");
  EXPECT_TRUE(sigismember(&blocked, SIGTERM));
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_FALSE(sigismember(&blocked, SIGTERM));
}

TEST_F(KLThreadsTest, SyncRunsOnTheQueueAndInPlaceWhenAlreadyThere) {
  const auto queue = makeQueue();
  const auto other = makeQueue();
  EXPECT_FALSE(queue->isCurrent());
  int depth = 0;
  queue->sync([&] {
    EXPECT_TRUE(queue->isCurrent());
    EXPECT_FALSE(other->isCurrent());
    queue->sync([&] {
      EXPECT_TRUE(queue->isCurrent());
      ++depth;
      throw std::runtime_error("inner");
    });
    EXPECT_EQ(depth, 1);
    other->sync([&] {
      EXPECT_TRUE(other->isCurrent());
      EXPECT_FALSE(queue->isCurrent());
      ++depth;
    });
  });
  EXPECT_EQ(depth, 2);
  EXPECT_FALSE(queue->isCurrent());
}

TEST_F(KLThreadsTest, ATaskThatThrowsIsSwallowed) {
  const auto queue = makeQueue();
  queue->async([] { throw std::runtime_error("task"); });
  queue->async(nullptr);
  EXPECT_NO_THROW(queue->sync([] { throw 1; }));
  bool ran = false;
  queue->sync([&] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST_F(KLThreadsTest, DelayedTasksComeByTheirTimeAndNotBefore) {
  const auto queue = makeQueue();
  const auto start = Clock::now();
  std::promise<double> waited;
  std::vector<int> order;
  queue->asyncAfter(0.06, [&] {
    order.push_back(3);
    waited.set_value(secondsSince(start));
  });
  queue->asyncAfter(0.02, [&] { order.push_back(2); });
  queue->asyncAfter(-1, [&] { order.push_back(0); });
  queue->asyncAfter(std::numeric_limits<double>::quiet_NaN(), [&] { order.push_back(1); });
  EXPECT_GE(waited.get_future().get(), 0.06);
  queue->sync([&] { EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3})); });
}

TEST_F(KLThreadsTest, TheEndRunsWhatWasAcceptedAndDropsDelayedTasks) {
  bool delayed = false;
  int ran = 0;
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = held;
  auto queue = makeQueue();
  queue->asyncAfter(1e300, [&, held = std::move(held)] { delayed = true; });
  queue->asyncAfter(3600, [&] { delayed = true; });
  for (int i = 0; i < 50; ++i) queue->async([&] { ++ran; });
  const auto start = Clock::now();
  queue.reset();
  EXPECT_EQ(ran, 50);
  EXPECT_FALSE(delayed);
  EXPECT_TRUE(watch.expired());
  EXPECT_LT(secondsSince(start), 60);
}

TEST_F(KLThreadsTest, WhileTheQueueStopsPostsAreDroppedAndSyncHasNoTaskBesideIt) {
  KLAsioQueue queue("queue", 1);
  std::promise<void> entered, leave;
  bool inside = false, overlapped = false, synced = false;
  int runs = 0;
  std::function<void()> endless = [&] {
    ++runs;
    queue.async(endless);
  };
  queue.async([&] {
    inside = true;
    entered.set_value();
    leave.get_future().wait();
    inside = false;
  });
  queue.async(endless);
  entered.get_future().wait();
  std::thread stopping([&] { queue.stop(); });
  std::thread syncing([&] {
    queue.sync([&] {
      synced = true;
      overlapped = inside;
    });
  });
  leave.set_value();
  syncing.join();
  stopping.join();
  EXPECT_TRUE(synced);
  EXPECT_FALSE(overlapped);
  EXPECT_GE(runs, 1);
}

TEST_F(KLThreadsTest, AfterTheStopTasksAreDroppedAndSyncRunsInPlace) {
  KLAsioQueue queue("queue", 1);
  queue.stop();
  bool ran = false;
  queue.async([&] { ran = true; });
  queue.asyncAfter(0.001, [&] { ran = true; });
  queue.sync([&] {
    EXPECT_FALSE(ran);
    EXPECT_TRUE(queue.isCurrent());
    queue.sync([&] { ran = true; });
  });
  EXPECT_TRUE(ran);
  EXPECT_FALSE(queue.isCurrent());
}

TEST_F(KLThreadsTest, WhatATaskHoldsMayUseTheQueueAsItDies) {
  const auto queue = makeQueue();
  bool ran = false;
  auto held = std::shared_ptr<int>(new int(0), [&](const int* value) {
    delete value;
    queue->sync([&] { ran = true; });
  });
  queue->async([held = std::move(held)] {});
  queue->sync([] {});
  EXPECT_TRUE(ran);
}

TEST(KLThreads, TheBackgroundQueueRunsTasksSideBySideAndFinishesThemAtItsEnd) {
  std::atomic<int> ran = 0;
  {
    KLThreadThreading threading;
    const auto background = threading.backgroundQueue();
    EXPECT_EQ(background, threading.backgroundQueue());
    std::promise<void> first, second;
    auto firstReady = first.get_future().share(), secondReady = second.get_future().share();
    background->async([&first, secondReady] {
      first.set_value();
      secondReady.wait();
    });
    background->async([&second, firstReady] {
      second.set_value();
      firstReady.wait();
    });
    background->sync([&] { background->sync([&] { EXPECT_TRUE(background->isCurrent()); }); });
    for (int i = 0; i < 100; ++i) background->async([&] { ++ran; });
  }
  EXPECT_EQ(ran, 100);
}

TEST_F(KLThreadsTest, AWakeUpBeforeTheWaitIsNotLost) {
  const auto wakeUp = threading.makeWakeUp();
  EXPECT_FALSE(wakeUp->isRaised());
  wakeUp->raise();
  EXPECT_TRUE(wakeUp->isRaised());
  EXPECT_TRUE(wakeUp->wait(-1));
  EXPECT_TRUE(wakeUp->wait(0));
  wakeUp->reset();
  EXPECT_FALSE(wakeUp->isRaised());
  EXPECT_FALSE(wakeUp->wait(0));
}

TEST_F(KLThreadsTest, AWakeUpDuringTheWaitEndsIt) {
  for (const double timeout : {-1.0, 60.0, 1e300}) {
    const auto wakeUp = threading.makeWakeUp();
    std::promise<void> waiting;
    auto result = std::async(std::launch::async, [&] {
      waiting.set_value();
      return wakeUp->wait(timeout);
    });
    waiting.get_future().wait();
    wakeUp->raise();
    EXPECT_TRUE(result.get());
  }
}

TEST_F(KLThreadsTest, AWaitEndsByItsTimeAndALaterWakeUpCountsForTheNext) {
  const auto wakeUp = threading.makeWakeUp();
  const auto start = Clock::now();
  EXPECT_FALSE(wakeUp->wait(0.02));
  EXPECT_GE(secondsSince(start), 0.02);
  wakeUp->raise();
  EXPECT_TRUE(wakeUp->wait(0));
}

}  // namespace
}  // namespace kaleo
