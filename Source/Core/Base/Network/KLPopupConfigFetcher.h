#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Core/Model/KLPopupConfig.h"
#include "Core/Nimbra/NBBridge.h"

namespace kaleo {

/// Asks the server for the popup configuration of the host's present user.
/// Threads: any; the callbacks run on the HTTP session's thread. Lifetime: borrows all three.
class KLPopupConfigFetcher {
 public:
  /// `response`: the answer as parsed (nothing when it was no JSON); `config` is never null.
  using Success = std::function<void(std::optional<KLValue> response, std::shared_ptr<KLPopupConfig> config)>;
  using Failure = KLNetwork::Failure;

  KLPopupConfigFetcher(KLNetwork& network, const NBBridge& bridge, const KLLog& log)
      : network_(network), bridge_(bridge), log_(log) {}

  /// Without a project, a distinct id or a usable base URL nothing is sent and no callback runs: the answer is then null.
  std::shared_ptr<KLHTTPTask> fetchCampaignsWithSuccess(const std::string& apiBaseURL, Success success, Failure failure);

 private:
  KLNetwork& network_;
  const NBBridge& bridge_;
  const KLLog& log_;
};

}  // namespace kaleo
