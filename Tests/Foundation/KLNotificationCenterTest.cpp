#include "kaleo/KLNotificationCenter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kaleo {
namespace {

class KLNotificationCenterTest : public ::testing::Test {
 protected:
  KLNotificationCenter::Observer say(std::string word) {
    return [this, word](const auto&) { said.push_back(word); };
  }

  KLNotificationCenter center;
  std::vector<std::string> said;
};

TEST_F(KLNotificationCenterTest, TellsTheObserversOfThatNameInOrderWithTheUserInfo) {
  std::optional<KLValue> seen;
  center.addObserver("a", say("1"));
  center.addObserver("b", say("other"));
  center.addObserver("a", [&](const auto& userInfo) { seen = userInfo; });
  center.addObserver("a", say("2"));
  center.post("a", KLValue("info"));
  center.post("nobody");
  EXPECT_EQ(said, (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(seen, KLValue("info"));
  center.post("a");
  EXPECT_FALSE(seen.has_value());
}

TEST_F(KLNotificationCenterTest, TokensAreNeverZeroAndNeverReused) {
  const auto first = center.addObserver("a", say("1"));
  center.removeObserver(first);
  const auto second = center.addObserver("a", say("2"));
  EXPECT_NE(first, 0u);
  EXPECT_NE(first, second);
  center.removeObserver(first);
  center.removeObserver(0);
  center.post("a");
  EXPECT_EQ(said, std::vector<std::string>{"2"});
}

TEST_F(KLNotificationCenterTest, AnObserverThatThrowsIsSkipped) {
  center.addObserver("a", [](const auto&) { throw std::runtime_error("observer"); });
  center.addObserver("a", nullptr);
  center.addObserver("a", say("after"));
  EXPECT_NO_THROW(center.post("a"));
  EXPECT_EQ(said, std::vector<std::string>{"after"});
}

TEST_F(KLNotificationCenterTest, ObserversMayAddRemoveAndPost) {
  KLNotificationCenter::Token self = 0;
  KLNotificationCenter::Token later = 0;
  self = center.addObserver("a", [&](const auto&) {
    said.push_back("self");
    center.removeObserver(self);
    center.removeObserver(later);
    center.addObserver("a", say("new"));
    center.post("b");
  });
  later = center.addObserver("a", say("later"));
  center.addObserver("b", say("inner"));
  center.post("a");
  EXPECT_EQ(said, (std::vector<std::string>{"self", "inner"}));
  center.post("a");
  EXPECT_EQ(said.back(), "new");
  EXPECT_EQ(said.size(), 3u);
}

TEST_F(KLNotificationCenterTest, RemovalWaitsForAnObserverThatRunsOnAnotherThread) {
  std::promise<void> entered, leave;
  std::atomic<bool> finished = false;
  const auto token = center.addObserver("a", [&](const auto&) {
    entered.set_value();
    leave.get_future().wait();
    finished = true;
  });
  std::thread poster([&] { center.post("a"); });
  entered.get_future().wait();
  auto removal = std::async(std::launch::async, [&] {
    center.removeObserver(token);
    return finished.load();
  });
  leave.set_value();
  EXPECT_TRUE(removal.get());
  poster.join();
}

TEST_F(KLNotificationCenterTest, WhatARemovedObserverHoldsIsFreedWithTheRemoval) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  const auto token = center.addObserver("a", [held = std::move(held)](const auto&) {});
  center.removeObserver(token);
  EXPECT_TRUE(watch.expired());
}

TEST_F(KLNotificationCenterTest, ManyThreadsMayPostAddAndRemoveAtOnce) {
  std::atomic<int> calls = 0;
  center.addObserver("a", [&](const auto&) { ++calls; });
  std::vector<std::thread> threads;
  constexpr int kThreads = 4, kRounds = 200;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        bool alive = true;
        const auto token = center.addObserver("a", [&alive](const auto&) { EXPECT_TRUE(alive); });
        center.post("a");
        center.removeObserver(token);
        alive = false;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(calls, kThreads * kRounds);
}

}  // namespace
}  // namespace kaleo
