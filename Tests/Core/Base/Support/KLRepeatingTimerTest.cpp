#include "Core/Base/Support/KLRepeatingTimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>

#include "Foundation/KLThreads.h"
#include "Support/ManualThreading.h"

namespace kaleo {
namespace {

TEST(KLRepeatingTimer, FiresAfterTheFirstDelayAndThenAtItsPeriod) {
  testing::ManualThreading threads;
  int fired = 0;
  KLRepeatingTimer timer(threads, 0, 10, true, [&] { ++fired; });
  threads.run();
  EXPECT_EQ(fired, 1);
  threads.advance(9.9);
  EXPECT_EQ(fired, 1);
  threads.advance(20.2);
  EXPECT_EQ(fired, 4);
  EXPECT_TRUE(timer.valid());
}

TEST(KLRepeatingTimer, OnceMeansOnce) {
  testing::ManualThreading threads;
  int fired = 0;
  KLRepeatingTimer timer(threads, 5, 5, false, [&] { ++fired; });
  threads.advance(60);
  EXPECT_EQ(fired, 1);
  EXPECT_FALSE(timer.valid());
}

TEST(KLRepeatingTimer, NothingFiresAfterInvalidate) {
  testing::ManualThreading threads;
  int fired = 0;
  KLRepeatingTimer timer(threads, 5, 5, true, [&] {
    if (++fired == 2) timer.invalidate();
  });
  threads.advance(60);
  EXPECT_EQ(fired, 2);
  timer.invalidate();
  timer.fire();
  EXPECT_EQ(fired, 2);
}

TEST(KLRepeatingTimer, NoPeriodMakesItSpin) {
  for (const double period : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    testing::ManualThreading threads;
    int fired = 0;
    KLRepeatingTimer timer(threads, 0, period, true, [&] { ++fired; });
    threads.advance(10);
    EXPECT_EQ(fired, 11) << period;
  }
}

TEST(KLRepeatingTimer, HandlerThatThrowsFiresAgain) {
  testing::ManualThreading threads;
  int fired = 0;
  KLRepeatingTimer timer(threads, 5, 5, true, [&] {
    ++fired;
    throw 1;
  });
  threads.advance(16);
  EXPECT_EQ(fired, 3);
}

TEST(KLRepeatingTimer, InvalidateWaitsForAHandlerOnAnotherThread) {
  KLThreadThreading threads;
  std::promise<void> began, go;
  std::atomic<bool> finished{false};
  KLRepeatingTimer timer(threads, 0, 1000, true, [&] {
    began.set_value();
    go.get_future().wait();
    finished = true;
  });
  began.get_future().wait();
  auto invalidated = std::async(std::launch::async, [&] {
    timer.invalidate();
    return finished.load();
  });
  go.set_value();
  EXPECT_TRUE(invalidated.get());
}

}  // namespace
}  // namespace kaleo
