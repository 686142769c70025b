#include "Platform/Linux/KLRouteSnapshot.h"

#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace kaleo {
namespace {

/// Calls `visit` with each attribute in `length` bytes at `first`. The kernel's macros do not work on const data.
template <class Visit>
void forEachAttribute(const void* first, std::size_t length, Visit visit) {
  const auto* at = static_cast<const std::uint8_t*>(first);
  while (length >= sizeof(rtattr)) {
    rtattr attribute;
    std::memcpy(&attribute, at, sizeof attribute);
    if (attribute.rta_len < sizeof attribute || attribute.rta_len > length) return;
    visit(attribute.rta_type & NLA_TYPE_MASK, at + RTA_LENGTH(0), attribute.rta_len - RTA_LENGTH(0));
    const std::size_t step = RTA_ALIGN(attribute.rta_len);
    if (step >= length) return;
    at += step;
    length -= step;
  }
}

template <class T>
bool readAs(const std::uint8_t* data, std::size_t length, T& value) {
  if (length < sizeof value) return false;
  std::memcpy(&value, data, sizeof value);
  return true;
}

/// The fixed part of a message, and what follows it.
template <class T>
const std::uint8_t* payload(const nlmsghdr& message, T& head, std::size_t& rest) {
  const auto* data = reinterpret_cast<const std::uint8_t*>(&message) + NLMSG_HDRLEN;
  const std::size_t length = message.nlmsg_len - NLMSG_HDRLEN;
  const std::size_t aligned = NLMSG_ALIGN(sizeof head);
  if (!readAs(data, length, head)) return nullptr;
  rest = length > aligned ? length - aligned : 0;
  return data + aligned;
}

std::string textOf(const std::uint8_t* data, std::size_t length) {
  const auto* text = reinterpret_cast<const char*>(data);
  return std::string(text, ::strnlen(text, length));
}

std::string kindOf(const std::uint8_t* info, std::size_t length) {
  std::string kind;
  forEachAttribute(info, length, [&](int type, const std::uint8_t* data, std::size_t size) {
    if (type == IFLA_INFO_KIND) kind = textOf(data, size);
  });
  return kind;
}

/// IPv6 keeps such routes for every link that is up, whether it leads anywhere or not.
bool staysOnLink(int family, const std::uint8_t* destination, std::size_t length) {
  if (family != AF_INET6 || length < sizeof(in6_addr)) return false;
  in6_addr address;
  std::memcpy(&address, destination, sizeof address);
  return IN6_IS_ADDR_LINKLOCAL(&address) || IN6_IS_ADDR_MULTICAST(&address);
}

void addNextHops(const std::uint8_t* data, std::size_t length, std::vector<int>& links) {
  rtnexthop hop;
  while (readAs(data, length, hop) && hop.rtnh_len >= sizeof hop && hop.rtnh_len <= length) {
    links.push_back(hop.rtnh_ifindex);
    const std::size_t step = RTNH_ALIGN(hop.rtnh_len);
    if (step >= length) return;
    data += step;
    length -= step;
  }
}

}  // namespace

KLRouteSnapshot::Dump KLRouteSnapshot::take(const void* messages, std::size_t length) {
  const auto* at = static_cast<const std::uint8_t*>(messages);
  while (length >= NLMSG_HDRLEN) {
    const auto& message = *reinterpret_cast<const nlmsghdr*>(at);
    if (message.nlmsg_len < NLMSG_HDRLEN || message.nlmsg_len > length) return Dump::More;
    if (message.nlmsg_type == NLMSG_DONE) return Dump::Done;
    if (message.nlmsg_type == NLMSG_ERROR) return Dump::Refused;
    if (message.nlmsg_type == RTM_NEWLINK) takeLink(message);
    if (message.nlmsg_type == RTM_NEWROUTE) takeRoute(message);
    const std::size_t step = NLMSG_ALIGN(message.nlmsg_len);
    if (step >= length) return Dump::More;
    at += step;
    length -= step;
  }
  return Dump::More;
}

void KLRouteSnapshot::takeLink(const nlmsghdr& message) {
  constexpr unsigned kUp = IFF_UP | IFF_RUNNING;  // running: there is a carrier, too
  ifinfomsg link;
  std::size_t rest = 0;
  const auto* attributes = payload(message, link, rest);
  if (!attributes || (link.ifi_flags & kUp) != kUp || (link.ifi_flags & IFF_LOOPBACK) != 0) return;
  upLinks_.insert(link.ifi_index);
  std::string name, kind;
  forEachAttribute(attributes, rest, [&](int type, const std::uint8_t* data, std::size_t length) {
    if (type == IFLA_IFNAME) name = textOf(data, length);
    if (type == IFLA_LINKINFO) kind = kindOf(data, length);
  });
  if (isWWAN_(name, kind)) wwanLinks_.insert(link.ifi_index);
}

void KLRouteSnapshot::takeRoute(const nlmsghdr& message) {
  rtmsg route;
  std::size_t rest = 0;
  const auto* attributes = payload(message, route, rest);
  if (!attributes || route.rtm_type != RTN_UNICAST || route.rtm_table == RT_TABLE_LOCAL) return;
  bool local = false;
  std::vector<int> links;
  forEachAttribute(attributes, rest, [&](int type, const std::uint8_t* data, std::size_t length) {
    int link = 0;
    if (type == RTA_DST) local = staysOnLink(route.rtm_family, data, length);
    if (type == RTA_OIF && readAs(data, length, link)) links.push_back(link);
    if (type == RTA_MULTIPATH) addNextHops(data, length, links);
  });
  if (local) return;
  for (const int link : links) {
    if (upLinks_.count(link) == 0) continue;
    (wwanLinks_.count(link) > 0 ? wwanRouted_ : routed_) = true;
  }
}

KLReachability KLRouteSnapshot::reachability() const {
  if (routed_) return KLReachability::Other;
  return wwanRouted_ ? KLReachability::Cellular : KLReachability::NotReachable;
}

bool KLIsWWANLink(const std::string& linkName, const std::string& kind) {
  if (kind == "wwan" || kind == "rmnet") return true;
  if (linkName.starts_with("ww") || linkName.starts_with("ppp") || linkName.starts_with("rmnet")) return true;
  std::ifstream uevent("/sys/class/net/" + linkName + "/uevent");
  for (std::string line; std::getline(uevent, line);) {
    if (line == "DEVTYPE=wwan") return true;
  }
  return false;
}

}  // namespace kaleo
