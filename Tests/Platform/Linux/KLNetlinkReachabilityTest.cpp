#include "Platform/Linux/KLNetlinkReachability.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <mutex>
#include <optional>
#include <stdexcept>

namespace kaleo {
namespace {

/// What a source has reported.
class Reports {
 public:
  KLReachabilitySource::Changed listener() {
    return [this](KLReachability state) {
      std::lock_guard lock(mutex_);
      last_ = state;
      ++count_;
      changed_.notify_all();
    };
  }
  int count() {
    std::lock_guard lock(mutex_);
    return count_;
  }
  bool waitFor(KLReachability state) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return last_ == state; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<KLReachability> last_;
  int count_ = 0;
};

TEST(KLNetlinkReachability, ReportsTheFirstStateInsideStartAndStopsCleanly) {
  KLNetlinkReachability source;
  source.stop();
  for (int round = 0; round < 3; ++round) {
    Reports reports;
    source.start(reports.listener());
    EXPECT_EQ(reports.count(), 1);
    source.stop();
    source.stop();
  }
  Reports first, second;
  source.start(first.listener());
  source.start(second.listener());
  EXPECT_EQ(first.count(), 1);
  EXPECT_EQ(second.count(), 1);
}

TEST(KLNetlinkReachability, TheListenerMayStopItAndMayThrow) {
  KLNetlinkReachability source;
  int reports = 0;
  source.start([&](KLReachability) {
    ++reports;
    source.stop();
  });
  EXPECT_EQ(reports, 1);
  EXPECT_NO_THROW(source.start([](KLReachability) { throw std::runtime_error("listener"); }));
}

constexpr const char* kMakeLink = "ip link add kaleo0 type veth peer name peer0 && ip link set peer0 up";

/// Runs `body` on a thread with network links of its own; false where the system does not allow that.
template <class Body>
bool inOwnNetwork(Body body) {
  return std::async(std::launch::async,
                    [&] {
                      if (::unshare(CLONE_NEWNET) != 0 ||
                          std::system("ip link add kaleo0 type veth peer name peer0 && ip link set peer0 up") != 0)
                        return false;
                      body();
                      return true;
                    })
      .get();
}

TEST(KLNetlinkReachability, ReportsEachChangeOfTheLinks) {
  const bool ran = inOwnNetwork([] {
    KLNetlinkReachability source;
    Reports reports;
    source.start(reports.listener());
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable));
    EXPECT_EQ(std::system("ip address add 192.0.2.1/24 dev kaleo0 && ip link set kaleo0 up"), 0);
    EXPECT_TRUE(reports.waitFor(KLReachability::Other));
    EXPECT_EQ(std::system("ip link set kaleo0 down && ip link set kaleo0 name wwan0 && ip link set wwan0 up"), 0);
    EXPECT_TRUE(reports.waitFor(KLReachability::Cellular));
    EXPECT_EQ(std::system("ip link set wwan0 down"), 0);
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable));
    source.stop();
    const int before = reports.count();
    EXPECT_EQ(std::system("ip link set wwan0 up"), 0);
    EXPECT_EQ(reports.count(), before);
  });
  if (!ran) GTEST_SKIP() << "no network namespaces here";
}

}  // namespace
}  // namespace kaleo
