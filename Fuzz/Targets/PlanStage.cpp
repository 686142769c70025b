#include "PlanStage.h"

#include <algorithm>

namespace kaleo::fuzz {

void PlanStage::install(const std::shared_ptr<const KLPopupConfig>& config) {
  const KLPresentationHooks presentation{show(), show(), [](const std::vector<std::string>&) {}};
  queue_->async([&] { installer_.setPopupConfig(config, options_, presentation); });
  threads.run();
}

void PlanStage::use(const std::shared_ptr<const KLPopupConfig>& config) {
  queue_->async([&] { trigger_.setPopupConfig(config); });
  threads.run();
}

void PlanStage::track(const KLValue& record) {
  queue_->async([&] { trigger_.triggerEvent(record, clock.now()); });
  threads.advance(kSecondsBetweenEvents);
}

std::vector<std::string> PlanStage::neededEvents(std::size_t most) {
  const auto& names = trigger_.planManager().neededEvents();
  return {names.begin(), names.begin() + static_cast<std::ptrdiff_t>(std::min(most, names.size()))};
}

KLShowCampaign PlanStage::show() {
  return [this](const std::shared_ptr<KLCampaign>&) {
    threads.mainQueue()->asyncAfter(kOnScreenSeconds, [this] { notifications.post(kCampaignDidEndNotification); });
  };
}

KLManagerSurroundings PlanStage::managerSurroundings() {
  return {host.registry,
          threads,
          notifications,
          bridge,
          hostStore,
          log,
          diagnosis,
          user,
          time,
          random,
          network,
          reachability_,
          {directory.path(), directory.path(), directory.path(), {}},
          [] { return KLPresentationHooks{}; },
          [] { return nullptr; }};
}

}  // namespace kaleo::fuzz
