#include "Core/Base/Trigger/KLConvertResults.h"

#include <fmt/ranges.h>

#include <algorithm>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLURL.h"

namespace kaleo {

void KLConvertResults::fetchConvertResultsWithUUID(const std::string& uuid) {
  if (std::find(uuids_.begin(), uuids_.end(), uuid) == uuids_.end()) duration_ = 0;
  uuids_.push_back(uuid);
  fetchConvertResults();
}

void KLConvertResults::reload() {
  around_.log.info("Remove unconvert uuids in memory");
  uuids_.clear();
  around_.log.info("Load and filter unconvert uuids, remove ones with expired plans, expired convert windows");
  loadUnConvertedWindowUUIDs();
  fetchConvertResults();
}

void KLConvertResults::stop() {
  if (const auto task = std::exchange(task_, nullptr)) task->cancel();
}

void KLConvertResults::loadUnConvertedWindowUUIDs() {
  const double now = around_.time.clock.now();
  for (const auto& plan : planManager_.sortedPlans()) {
    const auto& window = plan->convertWindow();
    if (!window || !window->uuid || plan->isConverted() || window->isFinished(now)) continue;
    if (std::find(uuids_.begin(), uuids_.end(), *window->uuid) == uuids_.end()) uuids_.push_back(*window->uuid);
  }
}

void KLConvertResults::filterUnConvertedUUIDs() {
  const double now = around_.time.clock.now();
  for (const auto& plan : planManager_.sortedPlans()) {
    const auto& window = plan->convertWindow();
    if (!window) continue;
    if (plan->planModel().isExpired(now) || plan->isConverted() || window->isFinished(now)) {
      removeUUID(window->uuid.value_or(""));
    }
  }
}

void KLConvertResults::removeUUID(const std::string& uuid) { std::erase(uuids_, uuid); }

void KLConvertResults::fetchConvertResults() {
  filterUnConvertedUUIDs();
  if (uuids_.empty()) {
    around_.log.info("Popup uuids is empty, no need to fetch result");
    return;
  }
  around_.log.info("Start fetching convert result, current timeInterval is: {:f}", duration_);
  duration_ = duration_ == 0 ? kFirstDelay : duration_ * 2;
  ++round_;
  task_ = requestCampaignConvertResults();
}

std::shared_ptr<KLHTTPTask> KLConvertResults::requestCampaignConvertResults() {
  const auto base = KLURL::parse(around_.apiBaseURL());
  if (!base) return nullptr;
  const KLValue parameters =
      KLObject{{"project", around_.bridge.project()}, {"popup_display_uuids", fmt::format("{}", fmt::join(uuids_, ","))}};
  const auto onQueue = [queue = around_.triggerQueue, weak = weak_from_this(), round = round_](auto handle) {
    queue->async([weak, round, handle = std::move(handle)] {
      const auto self = weak.lock();
      if (self && self->task_ && self->round_ == round) handle(*self);
    });
  };
  return around_.network.GET(
      base->appendingPath(kPopupDisplays).absoluteString(), &parameters,
      [onQueue](std::optional<KLValue> reply) {
        onQueue([reply = std::move(reply)](KLConvertResults& self) { self.handleReply(reply); });
      },
      [onQueue](std::optional<KLError> error) {
        onQueue([error = std::move(error)](KLConvertResults& self) { self.handleFailure(error); });
      });
}

void KLConvertResults::handleReply(const std::optional<KLValue>& reply) {
  scheduleNextRound();
  if (!reply || !reply->isArray()) {
    around_.log.error("Bad response, backend guys change the API");
    return;
  }
  around_.log.info("Convert result is: {}", quillon_description(*reply));
  for (const KLValue& element : reply->asArray()) {
    const auto result = KLPopupConvertResult::fromResponseData(&element);
    saveConvertResult(result);
    if (result.isConverted()) removeUUID(result.popupDisplayUUID.value_or(""));
  }
}

void KLConvertResults::handleFailure(const std::optional<KLError>& error) {
  around_.log.info("Fetch convert result failed with error: {}", error ? error->localizedDescription : "(null)");
  scheduleNextRound();
}

void KLConvertResults::scheduleNextRound() {
  around_.triggerQueue->asyncAfter(duration_, [weak = weak_from_this(), round = round_] {
    const auto self = weak.lock();
    if (self && self->task_ && self->round_ == round) self->fetchConvertResults();
  });
}

void KLConvertResults::saveConvertResult(const KLPopupConvertResult& result) const {
  const std::string uuid = result.popupDisplayUUID.value_or("");
  around_.log.info("Save convert result for popup uuid: {}, convert result is: {}", uuid, result.isConverted() ? "YES" : "NO");
  around_.hostStore.setObject(result.archivedData(), KLPopupConvertResult::storeKey(uuid));
}

}  // namespace kaleo
