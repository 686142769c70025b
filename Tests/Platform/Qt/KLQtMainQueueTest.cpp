#include <QTimer>
#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "QtStage.h"

namespace kaleo {
namespace {

class KLQtMainQueueTest : public QtStage {
 protected:
  KLQueue& queue() { return *platform.mainQueue; }
};

TEST_F(KLQtMainQueueTest, RunsTasksInTheOrderOfTheCallsAndNeverInside) {
  std::vector<int> ran;
  for (int i = 0; i < 100; ++i) queue().async([&ran, i] { ran.push_back(i); });
  queue().asyncAfter(0, [&] { ran.push_back(100); });
  queue().asyncAfter(-1, [&] { ran.push_back(101); });
  EXPECT_TRUE(ran.empty());
  ASSERT_TRUE(runUntil([&] { return ran.size() == 102; }));
  EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
}

TEST_F(KLQtMainQueueTest, KeepsTheOrderOfEachThread) {
  constexpr int kThreads = 4, kTasks = 200;
  std::vector<int> seen[kThreads];
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kTasks; ++i) queue().async([&seen, t, i] { seen[t].push_back(i); });
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(runUntil([&] { return std::all_of(seen, seen + kThreads, [](auto& one) { return one.size() == kTasks; }); }));
  for (const auto& one : seen) EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
}

TEST_F(KLQtMainQueueTest, SyncWaitsOnAnotherThreadAndRunsInPlaceOnTheMainThread) {
  bool here = false;
  queue().sync([&] { here = true; });
  EXPECT_TRUE(here);
  EXPECT_TRUE(queue().isCurrent());
  std::atomic<bool> returned = false;
  std::thread::id ranOn;
  bool earlierRan = false, wasCurrent = true;
  queue().async([&] { earlierRan = true; });
  std::thread worker([&] {
    wasCurrent = queue().isCurrent();
    bool sawEarlier = false;
    queue().sync([&] {
      ranOn = std::this_thread::get_id();
      sawEarlier = earlierRan;
    });
    EXPECT_TRUE(sawEarlier);
    returned = true;
  });
  ASSERT_TRUE(runUntil([&] { return returned.load(); }));
  worker.join();
  EXPECT_FALSE(wasCurrent);
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(KLQtMainQueueTest, DelaysByNoLessThanAskedInOrderOfDueTime) {
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::pair<double, double>> ran;  // asked, taken
  std::thread worker([&] {
    for (const double delay : {0.06, 0.02, 0.04}) {
      queue().asyncAfter(delay, [&ran, delay, start] {
        ran.emplace_back(delay, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
      });
    }
    queue().asyncAfter(1e300, [&ran] { ran.emplace_back(0, 0); });
  });
  worker.join();
  ASSERT_TRUE(runUntil([&] { return ran.size() == 3; }));
  EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
  for (const auto& [asked, taken] : ran) EXPECT_GE(taken, asked);
}

TEST_F(KLQtMainQueueTest, SwallowsWhatATaskThrows) {
  bool next = false;
  queue().async([] { throw std::runtime_error("task"); });
  queue().asyncAfter(0.001, [] { throw 1; });
  queue().asyncAfter(0.01, [&] { next = true; });
  queue().async(nullptr);
  queue().sync([] { throw 2; });
  EXPECT_TRUE(runUntil([&] { return next; }));
}

TEST_F(KLQtMainQueueTest, RunsLaterTasksInsideOfATasksOwnEventLoop) {
  std::vector<int> order;
  queue().async([&] {
    QEventLoop loop;
    queue().async([&] {
      order.push_back(1);
      loop.quit();
    });
    loop.exec();
    order.push_back(2);
  });
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(KLQtMainQueueTest, EndsWithTheApplicationAndLetsNobodyWait) {
  std::atomic<int> ran = 0, returned = 0;
  std::thread early, late;
  queue().async([&] {
    // These are still waiting for their turn when the loop ends.
    std::atomic<bool> started = false;
    early = std::thread([&] {
      started = true;
      queue().sync([&] { ++ran; });
      ++returned;
    });
    while (!started) std::this_thread::yield();
    QCoreApplication::quit();
  });
  QObject guard;
  QObject::connect(qApp, &QCoreApplication::aboutToQuit, &guard, [&] {
    queue().async([&] { ran += 100; });
    queue().asyncAfter(0.001, [&] { ran += 100; });
    late = std::thread([&] {
      queue().sync([&] { ran += 100; });
      ++returned;
    });
    late.join();  // the main thread may wait for a worker that asks it for something
  });
  QApplication::exec();
  early.join();
  EXPECT_EQ(returned, 2);
  drain();
  EXPECT_LE(ran, 1);
  bool inPlace = false;
  queue().sync([&] { inPlace = true; });
  EXPECT_TRUE(inPlace);
}

TEST_F(KLQtMainQueueTest, DropsItsTasksWhenItIsDroppedFromAnyThread) {
  int ran = 0;
  const auto held = std::make_shared<int>(0);
  platform.mainQueue->async([&ran, held] { ++ran; });
  platform.mainQueue->asyncAfter(0.001, [&ran, held] { ++ran; });
  std::thread([queue = std::exchange(platform.mainQueue, nullptr)]() mutable { queue.reset(); }).join();
  drain();
  EXPECT_EQ(ran, 0);
  EXPECT_EQ(held.use_count(), 1);

  installQtPresentation(platform);
  bool after = false;
  platform.mainQueue->async([&] {
    platform.mainQueue.reset();
    after = true;
  });
  EXPECT_TRUE(runUntil([&] { return after; }));
}

}  // namespace
}  // namespace kaleo
