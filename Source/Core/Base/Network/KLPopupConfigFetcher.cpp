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
  if (response && response->isObject()) return;
  log.info("The popup configuration's answer is no JSON object; going on with a configuration without plans");
}

void logFailure(const KLLog& log, const std::optional<KLError>& error) {
  log.error("The popup configuration could not be fetched: {}",
            error ? error->localizedDescription : "the server answered with a status other than 200");
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
  auto failed = [&log = log_, failure = std::move(failure)](std::optional<KLError> error) {
    logFailure(log, error);
    if (failure) failure(std::move(error));
  };
  return network_.GET(base->appendingPath(kUserPopupConfigs).absoluteString(), &parameters, std::move(received), std::move(failed));
}

}  // namespace kaleo
