#include "Core/Base/Network/KLNetworkReachability.h"

#include <arpa/inet.h>

#include <algorithm>

#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

/// 127.0.0.0/8 (RFC 1122), ::1 (RFC 4291) and the former in the form of the latter.
bool isLoopbackAddress(const std::string& host) {
  constexpr std::uint32_t kLoopbackNet = 127;
  in_addr v4{};
  if (inet_pton(AF_INET, host.c_str(), &v4) == 1) return ntohl(v4.s_addr) >> 24 == kLoopbackNet;
  in6_addr v6{};
  if (!host.starts_with('[') || inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &v6) != 1) return false;
  return IN6_IS_ADDR_LOOPBACK(&v6) || (IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == kLoopbackNet);
}

}  // namespace

bool KLIsLoopbackURL(const std::string& url) {
  const auto parsed = KLURL::parse(url);
  if (!parsed) return false;
  std::string host = parsed->host();
  std::transform(host.begin(), host.end(), host.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
  // RFC 6761, 6.3: the names that always mean this machine.
  return host == "localhost" || host.ends_with(".localhost") || isLoopbackAddress(host);
}

KLReachability KLReachabilityFromFlags(std::uint32_t flags) {
  using namespace KLReachabilityFlag;
  const auto has = [flags](std::uint32_t bit) { return (flags & bit) != 0; };
  const bool connectsItself = (has(kConnectionOnTraffic) || has(kConnectionOnDemand)) && !has(kInterventionRequired);
  if (!has(kReachable) || (has(kConnectionRequired) && !connectsItself)) return KLReachability::NotReachable;
  return has(kIsCellular) ? KLReachability::Cellular : KLReachability::Other;
}

KLNetworkReachabilityManager::~KLNetworkReachabilityManager() { stopMonitoring(); }

void KLNetworkReachabilityManager::setNetworkStatusChanged(StatusChanged listener) {
  std::lock_guard lock(mutex_);
  networkStatusChanged_.swap(listener);  // the old one dies with the parameter, outside the lock
}

void KLNetworkReachabilityManager::startMonitoring(bool loopback) {
  stopMonitoring();
  if (loopback) return report(KLReachability::Other);
  source_.start([this](KLReachability status) { report(status); });
}

void KLNetworkReachabilityManager::stopMonitoring() { source_.stop(); }

void KLNetworkReachabilityManager::report(KLReachability status) {
  StatusChanged listener;
  {
    std::lock_guard lock(mutex_);
    listener = networkStatusChanged_;
  }
  if (listener) listener(status);
}

}  // namespace kaleo
