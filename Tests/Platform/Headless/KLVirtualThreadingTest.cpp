#include "Platform/Headless/KLVirtualThreading.h"

#include <gmock/gmock.h>

#include <limits>

namespace kaleo {
namespace {

using ::testing::ElementsAre;

class KLVirtualThreadingTest : public ::testing::Test {
 protected:
  auto say(const char* what) {
    return [this, what] { said.emplace_back(what, threads.now()); };
  }
  using Said = std::pair<std::string, double>;

  KLVirtualThreading threads{100};
  std::vector<Said> said;
};

TEST_F(KLVirtualThreadingTest, TasksRunWhenToldToInTheOrderOfTheirTime) {
  const auto queue = threads.makeSerialQueue("org.example.Queue");
  EXPECT_EQ(queue->label(), "org.example.Queue");
  queue->asyncAfter(2, say("second"));
  threads.mainQueue()->asyncAfter(1, say("first"));
  queue->async(say("now"));
  queue->async([] { throw 1; });
  threads.backgroundQueue()->async(say("now, too"));
  EXPECT_TRUE(said.empty());
  threads.run();
  EXPECT_THAT(said, ElementsAre(Said("now", 100), Said("now, too", 100)));
  said.clear();
  threads.advance(5);
  EXPECT_THAT(said, ElementsAre(Said("first", 101), Said("second", 102)));
  EXPECT_EQ(KLVirtualThreading::Clock(threads).now(), 105);
  EXPECT_TRUE(threads.isIdle());
}

TEST_F(KLVirtualThreadingTest, LeapNeverGoesBackAndLetsATimerFireOnce) {
  const auto queue = threads.makeSerialQueue("timer");
  std::function<void()> fire = [&] {
    say("tick")();
    queue->asyncAfter(10, fire);
  };
  queue->asyncAfter(10, fire);
  threads.moveTo(1e12);
  EXPECT_TRUE(said.empty());
  threads.run();
  threads.moveTo(5);
  threads.run();
  EXPECT_THAT(said, ElementsAre(Said("tick", 1e12)));
}

TEST_F(KLVirtualThreadingTest, WaitRunsOtherQueuesUntilItIsRaised) {
  const auto queue = threads.makeSerialQueue("waiting");
  const auto wakeUp = threads.makeWakeUp();
  queue->async([&] {
    EXPECT_TRUE(queue->isCurrent());
    queue->async(say("after the wait"));
    threads.mainQueue()->asyncAfter(3, [&] { wakeUp->raise(); });
    EXPECT_TRUE(wakeUp->wait(-1));
    say("raised")();
    wakeUp->reset();
    EXPECT_FALSE(wakeUp->wait(4));
    say("timed out")();
    EXPECT_FALSE(wakeUp->wait(-1));  // nothing is left that could raise it
  });
  threads.mainQueue()->asyncAfter(std::numeric_limits<double>::infinity(), say("never"));
  threads.run();
  EXPECT_FALSE(queue->isCurrent());
  EXPECT_THAT(said, ElementsAre(Said("raised", 103), Said("timed out", 107), Said("after the wait", 107)));
}

TEST_F(KLVirtualThreadingTest, SyncComesAfterWhatWasPostedAndRunsInPlaceOnItsOwnQueue) {
  auto queue = threads.makeSerialQueue("queue");
  queue->async(say("before"));
  queue->asyncAfter(1, say("delayed"));
  queue->sync([&] { queue->sync(say("inner")); });
  EXPECT_THAT(said, ElementsAre(Said("before", 100), Said("inner", 100)));
  queue->async(say("accepted"));
  queue.reset();
  EXPECT_THAT(said.back(), Said("accepted", 100));
  EXPECT_TRUE(threads.isIdle());
}

}  // namespace
}  // namespace kaleo
