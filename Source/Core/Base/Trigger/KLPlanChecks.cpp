#include "Core/Base/Trigger/KLPlanChecks.h"

#include "Core/Base/Trigger/KLLastCampaign.h"

namespace kaleo {

void KLPlanChecks::refuse(const KLPopupPlan& plan, KLDecision::Kind kind, const KLPlanAbstractWindow& window, std::int64_t count,
                          std::int64_t limit) const {
  if (!around_.diagnosis.get()) return;
  around_.diagnosis.add({.kind = kind,
                         .planID = plan.planModel().planID,
                         .windowStart = window.startTime,
                         .windowEnd = window.endTime,
                         .count = count,
                         .limit = limit});
}

// The same for all plans that one event meets: asked for once.
void KLPlanChecks::noteLastCampaign() const {
  if (!around_.diagnosis.get()) return;
  KLValue& last = around_.diagnosis.context().lastCampaignId;
  if (!last.isNull()) return;
  if (const auto stored = around_.hostStore.stringForKey(kKLLastCampaignIDKey)) last = *stored;
}

bool KLPlanChecks::checkRepeatDisplayForPlan(KLPopupPlan& plan) const {
  if (!plan.planModel().repeatDisplay) return true;
  const double began = now();
  if (!plan.isInDisplayCycle()) {
    around_.log.info("Repeat display check for plan: {} does not satisfy, reason: not in display time", plan.planModel().planID);
    return false;
  }
  if (around_.console) around_.console(fmt::format("time duration: {:f}", now() - began));
  return true;
}

bool KLPlanChecks::checkConvertWindowForPlan(KLPopupPlan& plan) const {
  const auto planID = plan.planModel().planID;
  around_.log.info("Start checking convert window for plan: {}", planID);
  const auto& window = plan.convertWindow();
  if (!window) {
    around_.log.info("Convert window does not exist");
    return true;
  }
  if (window->isFinished(now()) || plan.isConverted()) {
    convertResults_.removeUUID(window->uuid.value_or(""));
    plan.deleteConvertWindow();
    return true;
  }
  around_.log.info("Convert window check for plan: {} does not satisfy, reason: Convert window is not finished or not converted",
                   planID);
  refuse(plan, KLDecision::Kind::NotConverted, *window);
  return false;
}

bool KLPlanChecks::checkGlobalIntervalWindowForPlan(const KLPopupPlan& plan) const {
  around_.log.info("Start checking global interval window");
  const auto& window = globalWindows_.globalIntervalWindow();
  if (!window) {
    around_.log.info("Global interval window does not exist");
    return true;
  }
  if (window->isFinished(now())) {
    around_.log.info("Global interval window finished, will delete window");
    globalWindows_.deleteGlobalIntervalWindow();
    return true;
  }
  around_.log.info("Global interval window rule check does not satisfy");
  noteLastCampaign();
  refuse(plan, KLDecision::Kind::GlobalInterval, *window);
  return false;
}

bool KLPlanChecks::checkIntervalWindowForPlan(KLPopupPlan& plan) const {
  const auto planID = plan.planModel().planID;
  around_.log.info("Start checking interval window for plan: {}", planID);
  const auto& window = plan.popupIntervalWindow();
  if (!window) {
    around_.log.info("Interval window does not exist, satisfy the interval window check rule");
    return true;
  }
  if (window->isFinished(now())) {
    around_.log.info("Interval window finished, satisfy the interval window check rule");
    plan.deleteIntervalWindow();
    return true;
  }
  around_.log.info("Interval window check rule for plan: {}  does not satisfy, reason: Interval window does not finish", planID);
  refuse(plan, KLDecision::Kind::PlanInterval, *window);
  return false;
}

bool KLPlanChecks::checkGlobalLimitForPlan(const KLPopupPlan& plan, const KLPopupConfig& config) const {
  around_.log.info("Start checking global limit window for plan: {}", plan.planModel().planID);
  if (!config.globalLimitModel.isInUse || !plan.planModel().globalMsgLimitEnabled) {
    around_.log.info("Global limit is not in use or is not enabled for this plan, satisfy the global limit check");
    return true;
  }
  bool satisfied = true;
  for (const KLPlanLimitModel& limit : config.globalLimitModel.limits) satisfied &= checkLimit(limit, plan);
  around_.log.info("Global limit rule check {}", satisfied ? "satisfy" : "not satisfy");
  return satisfied;
}

bool KLPlanChecks::checkLimit(const KLPlanLimitModel& limit, const KLPopupPlan& plan) const {
  KLPlanLimitWindow window;
  window.type = KLWindowType::Backward;
  window.timeModel = limit.timeModel();
  window.startWindow(around_.time);
  const auto count = static_cast<std::int64_t>(globalWindows_.popupCountInLimitWindow(window));
  if (count < limit.limit) return true;
  if (around_.diagnosis.get()) around_.diagnosis.context().displayTimes = globalWindows_.loadGlobalPopupTimeIntervals();
  refuse(plan, KLDecision::Kind::GlobalLimit, window, count, limit.limit);
  return false;
}

bool KLPlanChecks::checkReEnterWindowForPlan(KLPopupPlan& plan) const {
  const auto planID = plan.planModel().planID;
  around_.log.info("Start checking plan: {} reEnter window", planID);
  const auto& window = plan.reEnterWindow();
  if (!window) {
    around_.log.info("Plan: {} reEnter window did not exist", planID);
    return true;
  }
  if (window->isFinished(now())) {
    around_.log.info("Plan: {} reEnter window was finished, will delete reEnter window", planID);
    plan.deleteReEnter();
    return true;
  }
  const std::int64_t count = window->count;
  const std::int64_t limit = plan.planModel().reEnter.limit;
  around_.log.info("reEnter window count is: {}, limit is: {}", count, limit);
  if (count < limit) {
    around_.log.info("ReEnter window check rule for plan: {} satisfy", planID);
    return true;
  }
  around_.log.info("ReEnter window check rule for plan: {} not satisfy", planID);
  refuse(plan, KLDecision::Kind::ReEnterLimit, *window, count, limit);
  return false;
}

}  // namespace kaleo
