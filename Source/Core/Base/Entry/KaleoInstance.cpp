#include "Core/Base/Entry/KLLibrary.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"
#include "kaleo/Kaleo.h"

namespace kaleo {

KaleoInstance::KaleoInstance(KLPlatform platform) : library_(std::make_unique<KLLibrary>(std::move(platform))) {}

KaleoInstance::~KaleoInstance() = default;

bool KaleoInstance::startWithConfigOptions(std::shared_ptr<KLConfigOptions> options) {
  const KLLog& log = library_->log();
  log.info("Start Kaleo SDK initialize");
  if (!options) {
    log.error("config options should not be nil");
    return false;
  }
  if (options->apiBaseURL().empty()) {
    log.error("API Base URL should not be empty, please provide a valid api base url");
    return false;
  }
  if (started_.exchange(true)) return false;
  library_->manager().startWithConfigOptions(std::move(options));
  return true;
}

bool KaleoInstance::handleOpenURL(const std::string& url) { return library_->manager().handleOpenURL(url); }

void KaleoInstance::fetchCampaignsWithCompletion(std::function<void(const KLCampaignResponse&)> completion) {
  library_->manager().fetchCampaignsWithCompletion(std::move(completion));
}

bool KaleoInstance::isSupportedNBVersion() const {
  const auto version = library_->bridge().SDKVersion();
  return !version || quillon_compareVersion(*version, kMinNBLibVersion) >= 0;
}

}  // namespace kaleo
