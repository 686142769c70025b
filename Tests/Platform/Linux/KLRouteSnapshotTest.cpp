#include "Platform/Linux/KLRouteSnapshot.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>

#include <cstring>
#include <vector>

namespace kaleo {
namespace {

/// Writes messages as the kernel does.
class Messages {
 public:
  template <class Head>
  Messages& begin(int type, const Head& head) {
    start_ = bytes_.size();
    nlmsghdr header{};
    header.nlmsg_type = static_cast<std::uint16_t>(type);
    append(&header, sizeof header);
    append(&head, sizeof head);
    return finish();
  }
  Messages& attribute(int type, const void* data, std::size_t length) {
    appendAttribute(type, data, length);
    return finish();
  }
  Messages& number(int type, int value) { return attribute(type, &value, sizeof value); }

  Messages& link(int index, const std::string& name, unsigned flags = IFF_UP | IFF_RUNNING) {
    ifinfomsg head{};
    head.ifi_index = index;
    head.ifi_flags = flags;
    return begin(RTM_NEWLINK, head).attribute(IFLA_IFNAME, name.c_str(), name.size() + 1);
  }
  Messages& linkOfKind(int index, const std::string& name, const std::string& kind) {
    Messages info;
    info.appendAttribute(IFLA_INFO_KIND, kind.c_str(), kind.size() + 1);
    info.appendAttribute(IFLA_INFO_DATA, "data", 4);
    return link(index, name).attribute(IFLA_LINKINFO | NLA_F_NESTED, info.bytes_.data(), info.bytes_.size());
  }
  Messages& route(int link, unsigned char type = RTN_UNICAST, unsigned char table = RT_TABLE_MAIN) {
    return begin(RTM_NEWROUTE, routeHead(AF_INET, type, table)).number(RTA_OIF, link);
  }
  Messages& route6(int link, const char* destination) {
    in6_addr address;
    inet_pton(AF_INET6, destination, &address);
    return begin(RTM_NEWROUTE, routeHead(AF_INET6, RTN_UNICAST, RT_TABLE_MAIN))
        .attribute(RTA_DST, &address, sizeof address)
        .number(RTA_OIF, link);
  }
  Messages& multipath(std::initializer_list<int> links) {
    std::vector<rtnexthop> hops;
    for (const int link : links) hops.push_back({sizeof(rtnexthop), 0, 0, link});
    return begin(RTM_NEWROUTE, routeHead(AF_INET, RTN_UNICAST, RT_TABLE_MAIN))
        .attribute(RTA_MULTIPATH, hops.data(), hops.size() * sizeof(rtnexthop));
  }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  static rtmsg routeHead(unsigned char family, unsigned char type, unsigned char table) {
    rtmsg head{};
    head.rtm_family = family;
    head.rtm_type = type;
    head.rtm_table = table;
    return head;
  }
  void appendAttribute(int type, const void* data, std::size_t length) {
    const rtattr head{static_cast<unsigned short>(RTA_LENGTH(length)), static_cast<unsigned short>(type)};
    append(&head, sizeof head);
    append(data, length);
  }
  void append(const void* data, std::size_t length) {
    const auto* first = static_cast<const std::uint8_t*>(data);
    bytes_.insert(bytes_.end(), first, first + length);
    bytes_.resize(NLMSG_ALIGN(bytes_.size()));
  }
  Messages& finish() {
    const auto length = static_cast<std::uint32_t>(bytes_.size() - start_);
    std::memcpy(bytes_.data() + start_, &length, sizeof length);
    return *this;
  }

  std::vector<std::uint8_t> bytes_;
  std::size_t start_ = 0;
};

KLReachability judge(const Messages& messages) {
  KLRouteSnapshot snapshot(
      [](const std::string& name, const std::string& kind) { return name.starts_with("mobile") || kind == "mobile"; });
  EXPECT_EQ(snapshot.take(messages.bytes().data(), messages.bytes().size()), KLRouteSnapshot::Dump::More);
  EXPECT_EQ(snapshot.isDecided(), snapshot.reachability() == KLReachability::Other);
  return snapshot.reachability();
}

TEST(KLRouteSnapshot, ARouteOverALinkThatIsUpMakesTheNetworkReachable) {
  EXPECT_EQ(judge(Messages()), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0")), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().route(2)), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route(2)), KLReachability::Other);
  EXPECT_EQ(judge(Messages().link(2, "eth0").link(3, "eth1").route(3)), KLReachability::Other);
  EXPECT_EQ(judge(Messages().link(2, "eth0").multipath({7, 2})), KLReachability::Other);
  EXPECT_EQ(judge(Messages().link(2, "eth0").multipath({7, 8})), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route6(2, "2001:db8::")), KLReachability::Other);
}

TEST(KLRouteSnapshot, LinksThatAreDownOrLoopBackDoNotCount) {
  EXPECT_EQ(judge(Messages().link(2, "eth0", 0).route(2)), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0", IFF_UP).route(2)), KLReachability::NotReachable) << "no carrier";
  EXPECT_EQ(judge(Messages().link(1, "lo", IFF_UP | IFF_RUNNING | IFF_LOOPBACK).route(1)), KLReachability::NotReachable);
}

TEST(KLRouteSnapshot, RoutesThatLeadNowhereDoNotCount) {
  EXPECT_EQ(judge(Messages().link(2, "eth0").route(2, RTN_UNREACHABLE)), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route(2, RTN_BLACKHOLE)), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route(2, RTN_UNICAST, RT_TABLE_LOCAL)), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route6(2, "fe80::")), KLReachability::NotReachable);
  EXPECT_EQ(judge(Messages().link(2, "eth0").route6(2, "ff00::")), KLReachability::NotReachable);
}

TEST(KLRouteSnapshot, ItIsCellularWhenOnlyMobileLinksHaveRoutes) {
  EXPECT_EQ(judge(Messages().link(2, "mobile0").route(2)), KLReachability::Cellular);
  EXPECT_EQ(judge(Messages().linkOfKind(2, "eth0", "mobile").route(2)), KLReachability::Cellular);
  EXPECT_EQ(judge(Messages().linkOfKind(2, "eth0", "veth").route(2)), KLReachability::Other);
  EXPECT_EQ(judge(Messages().link(2, "mobile0").link(3, "eth0").route(2)), KLReachability::Cellular);
  EXPECT_EQ(judge(Messages().link(2, "mobile0").link(3, "eth0").route(2).route(3)), KLReachability::Other);
}

TEST(KLRouteSnapshot, SeesHowADumpEnds) {
  KLRouteSnapshot snapshot(KLIsWWANLink);
  const auto done = Messages().link(2, "eth0").begin(NLMSG_DONE, 0).bytes();
  const auto refused = Messages().begin(NLMSG_ERROR, nlmsgerr{}).bytes();
  EXPECT_EQ(snapshot.take(done.data(), done.size()), KLRouteSnapshot::Dump::Done);
  EXPECT_EQ(snapshot.take(refused.data(), refused.size()), KLRouteSnapshot::Dump::Refused);
}

TEST(KLRouteSnapshot, BrokenMessagesAreHarmless) {
  const auto whole = Messages().linkOfKind(2, "eth0", "veth").route6(2, "2001:db8::").multipath({2, 3}).bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    KLRouteSnapshot snapshot(KLIsWWANLink);
    snapshot.take(cut.data(), cut.size());
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int value : {0, 1, 0x7F, 0xFF}) {
      auto changed = whole;
      changed[at] = static_cast<std::uint8_t>(value);
      KLRouteSnapshot snapshot(KLIsWWANLink);
      snapshot.take(changed.data(), changed.size());
    }
  }
}

TEST(KLIsWWANLink, KnowsMobileLinksByNameAndKind) {
  for (const char* name : {"wwan0", "ppp0", "rmnet_data0", "wwp0s20u4", "wws2"}) EXPECT_TRUE(KLIsWWANLink(name, "")) << name;
  for (const char* name : {"lo", "eth0", "wlp3s0", "wlan0", "w0", "there-is-none"}) EXPECT_FALSE(KLIsWWANLink(name, "")) << name;
  EXPECT_TRUE(KLIsWWANLink("modem", "wwan"));
  EXPECT_TRUE(KLIsWWANLink("modem", "rmnet"));
  EXPECT_FALSE(KLIsWWANLink("modem", "veth"));
}

}  // namespace
}  // namespace kaleo
