#include "Core/Base/Trigger/KLPlanChecks.h"

#include "Core/Base/Trigger/KLLastCampaign.h"

namespace kaleo {

template <class Fill>
void KLPlanChecks::refuse(const KLPopupPlan& plan, KLDiagnosisState state, const char* message, const KLPlanAbstractWindow& window,
                          Fill&& fill) const {
  KLDiagnosis* const recorder = around_.diagnosis.get();
  if (!recorder) return;
  KLObject content{{kQuillonDiagnosticInfoKeyMessage, message},
                   {kQuillonDiagnosticInfoKeyWindowStart, KLMilliseconds(window.startTime)},
                   {kQuillonDiagnosticInfoKeyWindowEnd, KLMilliseconds(window.endTime)}};
  fill(content);
  recorder->addContent(std::move(content), plan.planId(), state, KLDiagnosisType::Trigger);
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
  refuse(plan, KLDiagnosisState::NotConverted, "not converted", *window, [](KLObject&) {});
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
  refuse(plan, KLDiagnosisState::GlobalInterval, "not meet time interval", *window, [&](KLObject& content) {
    content.set("last_campaign_start_time", KLMilliseconds(window->startTime));
    if (const auto last = around_.hostStore.stringForKey(kKLLastCampaignIDKey)) content.set("last_campaign_id", *last);
  });
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
  refuse(plan, KLDiagnosisState::PlanInterval, "not meet time interval", *window, [&](KLObject& content) {
    content.set("last_campaign_start_time", KLMilliseconds(window->startTime));
    content.set(kQuillonDiagnosticInfoKeyCampaignId, plan.planId());
  });
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
  refuse(plan, KLDiagnosisState::GlobalLimit, "not meet global limit count", window, [&](KLObject& content) {
    content.set("global limit count", limit.limit);
    content.set("current_campaign_count", count);
    content.set("current_campaign_timestamp", globalWindows_.popupIntervalsInLimitWindow(window));
    content.set(kQuillonDiagnosticInfoKeyCampaignId, plan.planId());
  });
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
  refuse(plan, KLDiagnosisState::ReEnterLimit, "not meet reEnter limit count", *window, [&](KLObject& content) {
    content.set("reEnter_limit_count", limit);
    content.set("current_campaign_count", count);
  });
  return false;
}

}  // namespace kaleo
