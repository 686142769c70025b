#include "Core/Base/Network/KLPopupConfigFetcher.h"

#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"
#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

constexpr const char* kPlatform = "IOS";

void logResponse(const KLLog& log, const std::optional<KLValue>& response) {
  if (!log.isEnabled()) return;
  log.info("{}", response ? quillon_description(*response) : "(null)");
  if (!response) log.info("The popup configuration's answer is no JSON; going on with a configuration without plans");
}

}  // namespace

std::shared_ptr<KLHTTPTask> KLPopupConfigFetcher::fetchCampaignsWithSuccess(const std::string& apiBaseURL, Success success,
                                                                            Failure failure) {
  const std::string project = bridge_.project();
  if (project.empty()) {
    log_.error("Get Nimbra project value failed");
    return nullptr;
  }
  const auto distinctId = bridge_.distinctId();
  if (!distinctId) {
    log_.error("Get Nimbra distinctId value failed");
    return nullptr;
  }
  const auto base = KLURL::parse(apiBaseURL);
  if (!base) {
    log_.error("Invalid api base url:  {}", apiBaseURL);
    return nullptr;
  }
  const KLValue parameters(
      KLObject{{"platform", kPlatform}, {"project", project}, {"sdk_version", kKLSDKVersion}, {"distinct_id", *distinctId}});
  // The identity of the request, not that of the moment when the answer comes.
  const KaleoUser user{distinctId, bridge_.loginId(), bridge_.anonymousId()};
  auto received = [&log = log_, user, success = std::move(success)](std::optional<KLValue> response) {
    logResponse(log, response);
    auto config = KLPopupConfig::fromResponseData(response ? &*response : nullptr, log);
    config->setUser(user);
    if (success) success(std::move(response), std::move(config));
  };
  return network_.GET(base->appendingPath(kUserPopupConfigs).absoluteString(), &parameters, std::move(received),
                      std::move(failure));
}

}  // namespace kaleo
