#include "Platform/Linux/KLNetlinkReachability.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>

#include "Foundation/KLDescriptor.h"
#include "Foundation/KLThreadStart.h"
#include "Platform/Linux/KLRouteSnapshot.h"

namespace kaleo {
namespace {

constexpr std::uint32_t kGroups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
/// The kernel writes no longer pieces of a dump.
constexpr std::size_t kReceiveBytes = 32u << 10;
/// The kernel answers at once; this only keeps a broken one from holding the caller.
constexpr timeval kAnswerTimeout = {2, 0};

int openNetlink(int flags) { return ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | flags, NETLINK_ROUTE); }

/// A socket that becomes readable when links, addresses or routes change.
int subscribe() {
  const int fd = openNetlink(SOCK_NONBLOCK);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kGroups;
  if (fd >= 0 && ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  if (fd >= 0) ::close(fd);
  return -1;
}

bool request(int fd, std::uint16_t type) {
  struct {
    nlmsghdr header;
    rtgenmsg body;
  } message{};
  message.header.nlmsg_len = NLMSG_LENGTH(sizeof message.body);
  message.header.nlmsg_type = type;
  message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  message.body.rtgen_family = AF_UNSPEC;
  return ::send(fd, &message, message.header.nlmsg_len, 0) == static_cast<ssize_t>(message.header.nlmsg_len);
}

ssize_t receive(int fd, void* buffer, std::size_t length) {
  ssize_t got = 0;
  do {
    got = ::recv(fd, buffer, length, 0);
  } while (got < 0 && errno == EINTR);
  return got;
}

bool dump(int fd, std::uint16_t type, KLRouteSnapshot& snapshot) {
  if (!request(fd, type)) return false;
  alignas(nlmsghdr) std::array<std::uint8_t, kReceiveBytes> buffer;
  for (;;) {
    const ssize_t got = receive(fd, buffer.data(), buffer.size());
    if (got <= 0) return false;
    const auto state = snapshot.take(buffer.data(), static_cast<std::size_t>(got));
    if (state != KLRouteSnapshot::Dump::More || snapshot.isDecided()) return state != KLRouteSnapshot::Dump::Refused;
  }
}

KLReachability presentState() {
  const KLDescriptor netlink(openNetlink(0));
  if (!netlink) return KLReachability::Other;
  ::setsockopt(netlink.get(), SOL_SOCKET, SO_RCVTIMEO, &kAnswerTimeout, sizeof kAnswerTimeout);
  KLRouteSnapshot snapshot(KLIsWWANLink);
  const bool told = dump(netlink.get(), RTM_GETLINK, snapshot) && dump(netlink.get(), RTM_GETROUTE, snapshot);
  return told ? snapshot.reachability() : KLReachability::Other;
}

}  // namespace

class KLNetlinkReachability::Watch {
 public:
  explicit Watch(Changed changed)
      : changed_(std::move(changed)), changes_(subscribe()), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  /// False when there is nothing to wait on.
  bool canWait() const { return changes_ && wake_; }
  bool isStopped() const { return stopped_; }

  /// The subscription stands by now, so that no change falls between this look and the first wait.
  void report() {
    const KLReachability state = presentState();
    if (stopped_ || state == reported_) return;
    reported_ = state;
    try {
      if (changed_) changed_(state);
    } catch (...) {  // a listener's fault must not end the watch
    }
  }

  void run() {
    while (waitForChange()) report();
  }

  void stop() {
    stopped_ = true;
    const std::uint64_t one = 1;
    if (wake_) static_cast<void>(!::write(wake_.get(), &one, sizeof one));
  }

 private:
  bool waitForChange() {
    std::array<pollfd, 2> waited = {pollfd{changes_.get(), POLLIN, 0}, pollfd{wake_.get(), POLLIN, 0}};
    while (!stopped_) {
      const int ready = ::poll(waited.data(), waited.size(), -1);
      if (ready < 0 && errno != EINTR) return false;
      if (ready > 0 && waited[0].revents != 0) {
        drain();
        return !stopped_;
      }
    }
    return false;
  }

  /// What changed does not matter, as all is looked at anew; nor does it matter when the kernel had to drop messages.
  void drain() const {
    std::array<std::uint8_t, kReceiveBytes> buffer;
    while (receive(changes_.get(), buffer.data(), buffer.size()) > 0 || errno == ENOBUFS) {
    }
  }

  const Changed changed_;
  const KLDescriptor changes_;
  const KLDescriptor wake_;
  std::atomic<bool> stopped_ = false;
  std::optional<KLReachability> reported_;  ///< `start`'s thread first, then the watch's own
};

KLNetlinkReachability::KLNetlinkReachability() = default;
KLNetlinkReachability::~KLNetlinkReachability() { stop(); }

void KLNetlinkReachability::start(Changed changed) {
  stop();
  const auto watch = std::make_shared<Watch>(std::move(changed));
  watch_ = watch;
  watch->report();
  if (watch->isStopped() || !watch->canWait()) return;
  thread_ = KLStartThread("KLReachability", [watch] { watch->run(); });
}

void KLNetlinkReachability::stop() {
  if (!watch_) return;
  watch_->stop();
  watch_.reset();
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();  // stopped by its own callback: the thread ends when that returns
  } else {
    thread_.join();
  }
}

}  // namespace kaleo
