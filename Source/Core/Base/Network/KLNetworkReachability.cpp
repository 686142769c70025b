#include "Core/Base/Network/KLNetworkReachability.h"

namespace kaleo {

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
