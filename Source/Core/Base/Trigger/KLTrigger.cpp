#include "Core/Base/Trigger/KLTrigger.h"

#include "Core/Base/Trigger/KLLastCampaign.h"

namespace kaleo {

KLTrigger::KLTrigger(KLTriggerSurroundings surroundings)
    : around_(std::move(surroundings)),
      popup_(std::make_shared<KLPopupWait>(around_.threading)),
      planManager_({around_.log, around_.store, around_.diagnosis, around_.hostStore, around_.time, around_.user}),
      globalWindows_(around_),
      convertResults_(std::make_shared<KLConvertResults>(around_, planManager_)),
      checks_(around_, globalWindows_, *convertResults_),
      popupConfig_(std::make_shared<KLPopupConfig>()) {
  around_.log.info("KL Trigger add listeners");
  didEnd_ = around_.notificationCenter.addObserver(kCampaignDidEndNotification, [this](const auto&) {
    wakeUp("Popup did dismiss, will wake event handle thread to create related windows");
  });
  didFail_ = around_.notificationCenter.addObserver(kCampaignDidFailedNotification, [this](const auto&) {
    wakeUp("Popup failed to show, will wake event handle thread to create related windows");
  });
}

KLTrigger::~KLTrigger() {
  around_.notificationCenter.removeObserver(didEnd_);
  around_.notificationCenter.removeObserver(didFail_);
}

void KLTrigger::stop() {
  stopped_ = true;
  popup_->end();
}

void KLTrigger::wakeUp(const char* message) {
  // The log goes to the host from a background queue, as a notification may come under locks of the host's.
  around_.threading.backgroundQueue()->async([&log = around_.log, popup = popup_, message] {
    log.info("{}", message);
    popup->end();
  });
}

void KLTrigger::setPopupConfig(std::shared_ptr<const KLPopupConfig> config) {
  around_.log.info("Set popup config for trigger");
  popupConfig_ = config ? std::move(config) : std::make_shared<const KLPopupConfig>();
  planManager_.setPopupConfig(popupConfig_);
  Published published{.plans = {}, .neededEvents = planManager_.neededEventSet()};
  for (const auto& plan : planManager_.sortedPlans()) published.plans.emplace(plan->planId(), plan->sharedPlanModel());
  {
    std::lock_guard lock(publishedMutex_);
    std::swap(published_, published);
  }
  globalWindows_.loadGlobalWindow();
  convertResults_->reload();
}

void KLTrigger::removePlans() { setPopupConfig(popupConfig_->withoutPlans()); }

std::shared_ptr<const KLPopupPlanModel> KLTrigger::planWithIdentifier(const std::string& planID) const {
  std::lock_guard lock(publishedMutex_);
  const auto found = published_.plans.find(planID);
  return found == published_.plans.end() ? nullptr : found->second;
}

bool KLTrigger::isNeededEvent(std::string_view name) const {
  std::lock_guard lock(publishedMutex_);
  return published_.neededEvents.contains(name);
}

void KLTrigger::triggerEvent(KLValue record, double triggerTime) {
  if (stopped_) return;
  triggerTime_ = triggerTime;
  const KLEventName name(record);
  if (shouldHandleEvent(name, &planManager_, around_.log)) handleEvent(record, name.text());
}

bool KLTrigger::shouldHandleEvent(const KLEventName& name, const KLPlanManager* plans, const KLLog& log) {
  log.info("Start event triggle for event name: {}", name.text());
  if (plans && name.isPresent() && plans->isNeededEvent(name.text())) return true;
  log.info("This event does not need to resolve as it is not includes in plans");
  return false;
}

void KLTrigger::handleEvent(KLValue& record, std::string_view name) {
  triggledPlan_ = nullptr;
  popup_->begin();
  around_.log.info("Start checking all plans process for event {}", name);
  KLPlanManager::Listeners* const listeners = planManager_.listenersForEvent(name);
  if (!listeners) return;
  const double now = around_.time.clock.now();
  const KLDecisionBatch decisions(around_.diagnosis, now, &record);
  checkPlans(record, *listeners, now);
  if (!triggledPlan_ || stopped_) return;
  around_.log.info("Rule check for single plan: {} completed, satisfy the rules, Will execute popup process",
                   triggledPlan_->planModel().planID);
  showPopupForPlan(*triggledPlan_);
}

void KLTrigger::checkPlans(const KLValue& record, KLPlanManager::Listeners& listeners, double now) {
  listeners.matchers.begin(record);
  for (std::size_t i = 0; i < listeners.plans.size(); ++i) {
    const auto& plan = listeners.plans[i];
    plan->prefetchTriggerWindows();
    if (plan->planModel().isExpired(now)) {
      around_.log.info("Plan with planID: {} is expired", plan->planModel().planID);
      continue;
    }
    if (!satisfiesRules(record, *plan, listeners.matchers, i)) continue;
    if (triggledPlan_) {
      inhibit(*plan);
    } else {
      triggledPlan_ = plan;
    }
  }
}

bool KLTrigger::satisfiesRules(const KLValue& record, KLPopupPlan& plan, KLMatcherTable& matchers, std::size_t place) {
  around_.log.info("Start rule check for single plan: {}", plan.planModel().planID);
  return checks_.checkRepeatDisplayForPlan(plan) && checks_.checkConvertWindowForPlan(plan) &&
         checks_.checkGlobalIntervalWindowForPlan(plan) && checks_.checkIntervalWindowForPlan(plan) &&
         plan.patternMatchWithEvent(record, matchers, place) && checks_.checkGlobalLimitForPlan(plan, *popupConfig_) &&
         checks_.checkReEnterWindowForPlan(plan);
}

void KLTrigger::inhibit(const KLPopupPlan& plan) {
  const KLPopupPlanModel& chosen = triggledPlan_->planModel();
  around_.log.info("Plan {} with high priority had been trigged, current plan: {} popup should be inhibited", chosen.planID,
                   plan.planModel().planID);
  if (!around_.diagnosis.get()) return;
  around_.diagnosis.add({.kind = KLDecision::Kind::LowerPriority,
                         .planID = plan.planModel().planID,
                         .priority = plan.planModel().absolutePriority,
                         .chosenPlanID = chosen.planID,
                         .chosenPriority = chosen.absolutePriority});
}

void KLTrigger::showPopupForPlan(KLPopupPlan& plan) {
  if (plan.planModel().isExpired(around_.time.clock.now())) {
    around_.log.info("Current plan: {} was expired, should not display popup content", plan.planModel().planID);
    return;
  }
  const std::string uuid = around_.random.uuid();
  KLShowCampaign show = around_.showCampaign();
  if (!show) return;
  around_.hostStore.setObject(plan.planId(), kKLLastCampaignIDKey);
  if (around_.diagnosis.get()) {
    around_.diagnosis.add({.kind = KLDecision::Kind::Finished, .planID = plan.planModel().planID});
    around_.diagnosis.handOver();  // now, as the popup may stay for long
  }
  stampWindows(plan, uuid);
  present(plan, uuid, std::move(show));
  waitForDismissal(plan);
}

void KLTrigger::stampWindows(KLPopupPlan& plan, const std::string& uuid) {
  const std::string& planId = plan.planId();
  if (plan.planModel().convertWindow) {
    around_.log.info("Start fetching convert result for plan: {}, and the popup content uuid is {}", planId, uuid);
    convertResults_->fetchConvertResultsWithUUID(uuid);
    around_.log.info("Create convert window for plan: {} with uuid: {}", planId, uuid);
    plan.createConvertWindow(uuid);
  }
  createIntervalWindows(plan);
  around_.log.info("Delete all trigger windows for plan: {}", planId);
  plan.deleteTriggerWindows();
  around_.log.info("Save global limit data");
  globalWindows_.saveGlobalPopupData();
  countReEntry(plan);
}

void KLTrigger::createIntervalWindows(KLPopupPlan& plan) {
  around_.log.info("Create global interval window for plan: {}", plan.planId());
  globalWindows_.createGlobalIntervalWindow(*popupConfig_);
  around_.log.info("Create interval window for plan: {}", plan.planId());
  plan.createIntervalWindow();
}

void KLTrigger::countReEntry(KLPopupPlan& plan) {
  if (auto& window = plan.reEnterWindow()) {
    ++window->count;
    around_.log.info("Current plan: {} reEnter window count is: {}", plan.planModel().planID, window->count);
    plan.saveReEnter();
  } else {
    around_.log.info("ReEnter window for plan: {} does not exist, will create new reEnter window", plan.planId());
    plan.createReEnter();
  }
}

void KLTrigger::present(const KLPopupPlan& plan, const std::string& uuid, KLShowCampaign show) {
  around_.threading.backgroundQueue()->async([&log = around_.log, model = plan.sharedPlanModel(), planId = plan.planId(), uuid,
                                              time = triggerTime_, show = std::move(show)] {
    log.info("Will display popup content for plan: {}", planId);
    const auto campaign = std::make_shared<KLCampaign>(planId, model->cname, uuid, model->popupWindowContent);
    campaign->triggerTime = KLDate{time};
    show(campaign);
  });
}

void KLTrigger::waitForDismissal(KLPopupPlan& plan) {
  around_.log.info("Lock current thread, wait for plan: {} to dismiss popup", plan.planModel().planID);
  const bool isOver = popup_->hasEnded();
  popup_->wait([this](const KLPopupOutcome& outcome) { record(outcome); });
  if (!isOver && !stopped_) createIntervalWindows(plan);
}

void KLTrigger::recordOutcomes() {
  popup_->handOut([this](const KLPopupOutcome& outcome) { record(outcome); });
}

void KLTrigger::record(const KLPopupOutcome& outcome) {
  if (KLDiagnosis* const recorder = around_.diagnosis.get()) recorder->addOutcome(outcome);
}

}  // namespace kaleo
