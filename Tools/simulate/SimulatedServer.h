#pragma once

#include <optional>

#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLPlatform.h"
#include "kaleo/KLQueue.h"

namespace kaleo::tools {

/// The popup server of a simulation and the network before it, which is always there. A request for a configuration is answered
/// at once, with the answer that was set or else with a failure; every other request stays without an answer. Threads: one.
class SimulatedServer final : public KLHTTPSession, public KLReachabilitySource {
 public:
  static constexpr const char* kURL = "http://simulated.invalid";

  explicit SimulatedServer(KLThreading& threading);

  /// For the next request for a configuration. `answer` is an object.
  void setAnswer(const KLValue& answer);

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override;
  void start(Changed changed) override { changed(KLReachability::Other); }
  void stop() override {}

 private:
  KLHTTPResult takeResult();

  std::shared_ptr<KLQueue> queue_;
  std::optional<KLBytes> answer_;
};

}  // namespace kaleo::tools
