#include "Core/Base/Network/KLNetworkReachability.h"

#include <gtest/gtest.h>

#include <vector>

namespace kaleo {
namespace {

using enum KLReachability;

TEST(KLReachabilityFromFlags, FollowsTheTable) {
  constexpr std::uint32_t kCellular = 262144;
  const std::pair<std::uint32_t, KLReachability> table[] = {
      {0, NotReachable},
      {kCellular, NotReachable},
      {4 | 8, NotReachable},
      {2, Other},
      {2 | kCellular, Cellular},
      {2 | 4, NotReachable},
      {2 | 4 | kCellular, NotReachable},
      {2 | 4 | 8, Other},
      {2 | 4 | 32, Other},
      {2 | 4 | 32 | kCellular, Cellular},
      {2 | 4 | 16, NotReachable},
      {2 | 4 | 8 | 16, NotReachable},
      {2 | 4 | 8 | 32 | 16, NotReachable},
      {2 | 16, Other},
      {2 | 8, Other},
  };
  for (const auto& [flags, state] : table) EXPECT_EQ(KLReachabilityFromFlags(flags), state) << flags;
  EXPECT_EQ(static_cast<int>(NotReachable), 1);
  EXPECT_EQ(static_cast<int>(Cellular), 2);
  EXPECT_EQ(static_cast<int>(Other), 3);
}

TEST(KLIsLoopbackURL, KnowsTheNamesAndAddressesOfThisMachine) {
  for (const char* url : {"http://localhost:8080", "https://LOCALHOST/a", "http://popups.localhost", "http://127.0.0.1:1",
                          "http://127.9.8.7", "http://[::1]:8080/", "http://[0:0:0:0:0:0:0:1]", "http://[::ffff:127.0.0.1]"}) {
    EXPECT_TRUE(KLIsLoopbackURL(url)) << url;
  }
  for (const char* url : {"", "localhost", "http://127.example.com", "http://localhost.example.com", "http://128.0.0.1",
                          "http://[::2]", "http://[::ffff:10.0.0.1]", "https://popups.example.com/localhost"}) {
    EXPECT_FALSE(KLIsLoopbackURL(url)) << url;
  }
}

class FakeSource final : public KLReachabilitySource {
 public:
  void start(Changed listener) override {
    ++starts;
    changed = std::move(listener);
    changed(NotReachable);
  }
  void stop() override { changed = nullptr; }

  Changed changed;
  int starts = 0;
};

class KLNetworkReachabilityManagerTest : public ::testing::Test {
 protected:
  void listen() {
    manager.setNetworkStatusChanged([this](KLReachability state) { reported.push_back(state); });
  }
  FakeSource source;
  KLNetworkReachabilityManager manager{source};
  std::vector<KLReachability> reported;
};

TEST_F(KLNetworkReachabilityManagerTest, ReportsTheFirstStateAtOnceAndThenEachChange) {
  listen();
  manager.startMonitoring();
  EXPECT_EQ(reported, std::vector{NotReachable});
  source.changed(Cellular);
  source.changed(Other);
  EXPECT_EQ(reported, (std::vector{NotReachable, Cellular, Other}));
  manager.stopMonitoring();
  EXPECT_EQ(source.changed, nullptr);
}

TEST_F(KLNetworkReachabilityManagerTest, WithoutAListenerReportsAreDropped) {
  manager.startMonitoring();
  listen();
  source.changed(Other);
  manager.setNetworkStatusChanged(nullptr);
  source.changed(Cellular);
  EXPECT_EQ(reported, std::vector{Other});
}

TEST_F(KLNetworkReachabilityManagerTest, ALoopbackServerIsReachableWhateverTheLinks) {
  listen();
  manager.startMonitoring();
  manager.startMonitoring(true);
  EXPECT_EQ(reported, (std::vector{NotReachable, Other}));
  EXPECT_EQ(source.changed, nullptr);
  manager.startMonitoring();
  EXPECT_EQ(source.starts, 2);
}

TEST_F(KLNetworkReachabilityManagerTest, TheListenerMayReplaceItselfAndTheEndStopsTheSource) {
  FakeSource own;
  int calls = 0;
  {
    KLNetworkReachabilityManager local(own);
    local.setNetworkStatusChanged([&](KLReachability) {
      ++calls;
      local.setNetworkStatusChanged(nullptr);
    });
    local.startMonitoring();
    own.changed(Other);
  }
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(own.changed, nullptr);
}

}  // namespace
}  // namespace kaleo
