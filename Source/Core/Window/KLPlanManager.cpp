#include "Core/Window/KLPlanManager.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {

void KLPlanManager::setPopupConfig(std::shared_ptr<const KLPopupConfig> config) {
  popupConfig_ = std::move(config);
  filterPlansAndEvents();
}

void KLPlanManager::filterPlansAndEvents() {
  surroundings_.log.info("Filter events and plans");
  const double now = surroundings_.time.clock.now();
  const KLDecisionBatch decisions(surroundings_.diagnosis, now, nullptr);
  Plans runnable;
  neededEvents_.clear();
  neededEventSet_.clear();
  if (popupConfig_) {
    for (const auto& model : popupConfig_->popupPlanModels) {
      addNeededEvents(neededEventsInSinglePlan(*model));
      filterPlan(model, now, runnable);
    }
  }
  std::ranges::stable_sort(runnable, std::ranges::greater{}, [](const auto& plan) {
    return std::tuple(plan->planModel().absolutePriority, plan->planModel().planID);
  });
  sortedPlans_ = std::move(runnable);
  loadPlans();
  indexPlans();
}

// The events of a plan that may not run are listened to, too.
void KLPlanManager::addNeededEvents(const Events& events) {
  for (const std::string& event : events) {
    if (neededEventSet_.insert(event).second) neededEvents_.push_back(event);
  }
}

void KLPlanManager::filterPlan(const std::shared_ptr<const KLPopupPlanModel>& model, double now, Plans& runnable) const {
  if (model->isExpired(now)) {
    report(*model, KLDecision::Kind::Expired);
  } else if (!model->isActive()) {
    report(*model, KLDecision::Kind::NotActive);
  } else if (!model->isAudience) {
    report(*model, KLDecision::Kind::NotAudience);
  } else {
    runnable.push_back(std::make_shared<KLPopupPlan>(model, surroundings_));
  }
}

void KLPlanManager::report(const KLPopupPlanModel& model, KLDecision::Kind kind) const {
  if (surroundings_.diagnosis.get()) surroundings_.diagnosis.add({.kind = kind, .planID = model.planID});
}

void KLPlanManager::loadPlans() {
  surroundings_.log.info("Load all plans data");
  if (sortedPlans_.empty()) return;
  const auto stored = surroundings_.dataStore.planWindowsWithUserId(surroundings_.currentUser.userId());
  const KaleoDataStore::PlanWindows nothing;
  for (const auto& plan : sortedPlans_) {
    const auto found = stored.find(plan->planId());
    plan->loadPlan(found == stored.end() ? nothing : found->second);
  }
}

// By eventsWithPlans, as the full walk asks it: of plans that share an id the last one decides for all.
void KLPlanManager::indexPlans() {
  listenersByEvent_.clear();
  for (const auto& plan : sortedPlans_) {
    for (const std::string& event : *eventsForPlan(plan->planId())) listenersByEvent_[event].plans.push_back(plan);
  }
  for (auto& [event, listeners] : listenersByEvent_) {
    KLMatcherTable::Patterns patterns;
    for (const auto& plan : listeners.plans) patterns.push_back(&plan->planModel().patternPopup);
    listeners.matchers = KLMatcherTable(event, patterns);
  }
}

KLPlanManager::Listeners* KLPlanManager::listenersForEvent(std::string_view eventName) {
  const auto found = listenersByEvent_.find(eventName);
  return found == listenersByEvent_.end() ? nullptr : &found->second;
}

const KLPlanManager::Plans& KLPlanManager::plansForEvent(std::string_view eventName) const {
  static const Plans kNone;
  const auto found = listenersByEvent_.find(eventName);
  return found == listenersByEvent_.end() ? kNone : found->second.plans;
}

std::shared_ptr<KLPopupPlan> KLPlanManager::planWithPlanID(std::string_view planID) const {
  const std::int64_t wanted = quillon_integerPrefix(planID);
  const auto found = std::ranges::find(sortedPlans_, wanted, [](const auto& plan) { return plan->planModel().planID; });
  return found == sortedPlans_.end() ? nullptr : *found;
}

const KLPlanManager::Events& KLPlanManager::neededEventsInSinglePlan(const KLPopupPlanModel& model) {
  Events& events = eventsWithPlans_[model.planKey()];
  events.clear();
  std::unordered_set<std::string_view> seen;
  for (const KLPlanPopupMatcher& matcher : model.patternPopup.matcherList) {
    if (!matcher.eventName || matcher.eventName->empty()) continue;
    if (seen.insert(*matcher.eventName).second) events.push_back(*matcher.eventName);
  }
  return events;
}

const KLPlanManager::Events* KLPlanManager::eventsForPlan(std::string_view planKey) const {
  const auto found = eventsWithPlans_.find(planKey);
  return found == eventsWithPlans_.end() ? nullptr : &found->second;
}

}  // namespace kaleo
