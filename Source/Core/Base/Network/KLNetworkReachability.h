#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// Bits of a platform's reachability flags.
namespace KLReachabilityFlag {
inline constexpr std::uint32_t kReachable = 1u << 1;
inline constexpr std::uint32_t kConnectionRequired = 1u << 2;
inline constexpr std::uint32_t kConnectionOnTraffic = 1u << 3;
inline constexpr std::uint32_t kInterventionRequired = 1u << 4;
inline constexpr std::uint32_t kConnectionOnDemand = 1u << 5;
inline constexpr std::uint32_t kIsCellular = 1u << 18;
}  // namespace KLReachabilityFlag

/// The state that flags mean. A connection that is still to be made counts when it makes itself, without anyone's intervention.
KLReachability KLReachabilityFromFlags(std::uint32_t flags);

/// Whether the server of that URL runs on this machine, by its name or address: it can be reached whatever the network is.
bool KLIsLoopbackURL(const std::string& url);

/// Tells one listener of the network's state and of each change.
///
/// Threads: any; the first report comes inside `startMonitoring`, later ones on the source's thread. No lock is held meanwhile.
/// Lifetime: borrows the source, which must not be used by another.
class KLNetworkReachabilityManager {
 public:
  using StatusChanged = std::function<void(KLReachability)>;

  explicit KLNetworkReachabilityManager(KLReachabilitySource& source) : source_(source) {}
  /// Stops monitoring.
  ~KLNetworkReachabilityManager();
  KLNetworkReachabilityManager(const KLNetworkReachabilityManager&) = delete;
  KLNetworkReachabilityManager& operator=(const KLNetworkReachabilityManager&) = delete;

  /// Without a listener reports are dropped.
  void setNetworkStatusChanged(StatusChanged listener);
  /// Begins anew. `loopback`: the server is on this machine; it is reported as reachable once, whatever the links.
  void startMonitoring(bool loopback = false);
  /// When this returns, the listener is not running on another thread and will not be called again.
  void stopMonitoring();

 private:
  void report(KLReachability status);

  KLReachabilitySource& source_;
  std::mutex mutex_;
  StatusChanged networkStatusChanged_;  ///< guarded by mutex_
};

}  // namespace kaleo
