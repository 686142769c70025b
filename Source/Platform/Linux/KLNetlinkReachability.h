#pragma once

#include <memory>
#include <thread>

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// Reachability from the kernel's links and routes, over rtnetlink. The kernel says when something changes; a thread named
/// "KLReachability" waits for that and never wakes up otherwise. Where the kernel will not tell, the network counts as reachable,
/// so that a request is tried.
///
/// Threads: `start` and `stop` one at a time; the callback may call `stop`, but not destroy the source inside `start`.
class KLNetlinkReachability final : public KLReachabilitySource {
 public:
  KLNetlinkReachability();
  ~KLNetlinkReachability() override;

  void start(Changed changed) override;
  void stop() override;

 private:
  class Watch;
  std::shared_ptr<Watch> watch_;  ///< null while stopped; shared with the thread
  std::thread thread_;
};

}  // namespace kaleo
