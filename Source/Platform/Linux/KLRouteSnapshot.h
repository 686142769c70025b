#pragma once

#include <linux/netlink.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// What rtnetlink (RFC 3549; rtnetlink(7)) says of links and routes at one moment, as far as it decides reachability.
class KLRouteSnapshot {
 public:
  /// Whether the link of that name, and of that kind where the kernel names one (else empty), is a mobile network's.
  using IsWWAN = std::function<bool(const std::string& linkName, const std::string& kind)>;
  explicit KLRouteSnapshot(IsWWAN isWWAN) : isWWAN_(std::move(isWWAN)) {}

  enum class Dump { More, Done, Refused };

  /// Takes in `length` bytes of the answers to RTM_GETLINK and RTM_GETROUTE, links first; `messages` is aligned as nlmsghdr is.
  /// Says how the dump stands after them. Broken messages are passed over.
  Dump take(const void* messages, std::size_t length);

  /// Other when a route leads over a link that is up and no mobile network's, Cellular when only mobile ones have routes. Loopback,
  /// link-local and multicast routes do not count.
  KLReachability reachability() const;
  /// Nothing that may follow would change the answer.
  bool isDecided() const { return reachability() == KLReachability::Other; }

 private:
  void takeLink(const nlmsghdr& message);
  void takeRoute(const nlmsghdr& message);

  IsWWAN isWWAN_;
  std::set<int> upLinks_;  ///< by interface index, mobile ones too
  std::set<int> wwanLinks_;
  bool routed_ = false;  ///< over a link that is no mobile network's
  bool wwanRouted_ = false;
};

/// Judges by the link's kind ("wwan", "rmnet"), by the kernel's device type, and by the names that mobile links bear: "wwan0",
/// "ppp0", "rmnet0", and "ww" with a place on the bus (systemd.net-naming-scheme(7)), such as "wwp0s20u4".
bool KLIsWWANLink(const std::string& linkName, const std::string& kind);

}  // namespace kaleo
