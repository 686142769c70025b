#include "Platform/Linux/KLNetlinkReachability.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <future>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

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

/// Runs `body` on a thread with a network of its own: the link "kaleo0", up, without an address. Says why it did not.
template <class Body>
std::string inOwnNetwork(Body body) {
  return std::async(std::launch::async,
                    [&]() -> std::string {
                      if (::unshare(CLONE_NEWNET) != 0) {
                        return std::string("no network namespace of its own: ") + std::strerror(errno) +
                               " (it takes CAP_SYS_ADMIN)";
                      }
                      if (std::system("ip link add kaleo0 type veth peer name peer0 && ip link set peer0 up && "
                                      "ip link set kaleo0 up") != 0) {
                        return "links cannot be made here";
                      }
                      body();
                      return "";
                    })
      .get();
}

void run(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

TEST(KLNetlinkReachability, ReportsEachChangeOfLinksAndRoutes) {
  const std::string refusal = inOwnNetwork([] {
    KLNetlinkReachability source;
    Reports reports;
    source.start(reports.listener());
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable)) << "links that are up, but no route";
    run("ip route add default dev kaleo0");
    EXPECT_TRUE(reports.waitFor(KLReachability::Other));
    run("ip route del default");
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable));
    run("ip address add 192.0.2.1/24 dev kaleo0");
    EXPECT_TRUE(reports.waitFor(KLReachability::Other)) << "the route that comes with an address";
    run("ip link set peer0 down");
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable)) << "no carrier";
    run("ip link set kaleo0 down && ip link set kaleo0 name wwan0 && ip link set wwan0 up && ip link set peer0 up");
    EXPECT_TRUE(reports.waitFor(KLReachability::Cellular));
    run("ip link add kaleo1 type veth peer name peer1 && ip link set peer1 up && ip link set kaleo1 up && "
        "ip route add 198.51.100.0/24 dev kaleo1");
    EXPECT_TRUE(reports.waitFor(KLReachability::Other)) << "a wired link beside the mobile one";
    run("ip link del kaleo1");
    EXPECT_TRUE(reports.waitFor(KLReachability::Cellular));
    source.stop();
    const int before = reports.count();
    run("ip link set wwan0 down");
    EXPECT_EQ(reports.count(), before);
  });
  if (!refusal.empty()) GTEST_SKIP() << refusal;
}

TEST(KLNetlinkReachability, ARouteOfIPv6IsEnough) {
  std::string refusal = inOwnNetwork([&refusal] {
    if (std::system("ip -6 address add 2001:db8::1/64 dev kaleo0 nodad 2>/dev/null") != 0) {
      refusal = "no IPv6 here";
      return;
    }
    KLNetlinkReachability source;
    Reports reports;
    source.start(reports.listener());
    EXPECT_TRUE(reports.waitFor(KLReachability::Other));
    run("ip -6 address flush dev kaleo0 scope global");
    EXPECT_TRUE(reports.waitFor(KLReachability::NotReachable)) << "link-local routes do not count";
    run("ip -6 route add default dev kaleo0");
    EXPECT_TRUE(reports.waitFor(KLReachability::Other));
  });
  if (!refusal.empty()) GTEST_SKIP() << refusal;
}

}  // namespace
}  // namespace kaleo
