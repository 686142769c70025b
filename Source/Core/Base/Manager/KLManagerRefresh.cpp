#include "Core/Base/Manager/KLManager.h"

namespace kaleo {

void KLManager::fetch(OnFetched onFetched) {
  const auto opts = options();  // none before the start: nothing is sent then, and the log says why
  const std::uint64_t switches = userSwitches_;
  fetcher_.fetchCampaignsWithSuccess(
      opts ? opts->apiBaseURL() : std::string(),
      [weak = weak_from_this(), onFetched, switches](const auto&, auto config) {
        const auto self = weak.lock();
        if (!self) return;
        self->around_.log.info("Fetch popup config success");
        onFetched({std::move(config), switches});
      },
      [weak = weak_from_this(), onFetched, switches](const auto&) {
        const auto self = weak.lock();
        if (!self) return;
        self->around_.log.info("Fetch popup config failed");
        onFetched({nullptr, switches});
      });
}

void KLManager::fetchPopupConfig() {
  around_.log.info("Start fetching popup plans config");
  fetch([weak = weak_from_this()](FetchResult result) {
    const auto self = weak.lock();
    if (!self) return;
    auto needed = neededEvents(result);
    self->changePlans(std::move(needed), [result = std::move(result)](KLManager& manager) { manager.applyFetched(result); });
  });
}

KLManager::NeededEvents KLManager::neededEvents(const FetchResult& result) {
  auto needed = std::make_shared<KLPlanManager::EventSet>();
  if (!result.config) return needed;
  for (const auto& plan : result.config->popupPlanModels) {
    for (const KLPlanPopupMatcher& matcher : plan->patternPopup.matcherList) {
      if (matcher.eventName) needed->insert(*matcher.eventName);
    }
  }
  return needed;
}

void KLManager::install(const FetchResult& result) {
  if (!installer_ || !result.config || result.userSwitch != userSwitches_) return;
  installer_->setPopupConfig(result.config, *options(), presentation());
}

void KLManager::applyFetched(const FetchResult& result) {
  install(result);
  fetchPopupConfigWithInterval(options()->fetchPlansInterval());
}

// An answer that comes while the application is in the background starts no timer; the return does.
void KLManager::fetchPopupConfigWithInterval(double seconds) {
  if (inBackground_) return;
  if (timer_ && seconds == options()->fetchPlansInterval()) return;
  makeTimer(seconds, seconds);
}

void KLManager::makeTimer(double fireTime, double interval) {
  timer_.reset();
  timer_ = std::make_unique<KLRepeatingTimer>(around_.threading, fireTime, interval, true, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->stopped_) self->fetchPopupConfig();
  });
}

}  // namespace kaleo
