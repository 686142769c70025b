#pragma once

#include "Core/Base/Trigger/KLConvertResults.h"
#include "Core/Base/Trigger/KLGlobalWindows.h"
#include "Core/Window/KLPopupPlan.h"

namespace kaleo {

/// The admission checks: each answers whether a plan may show its popup as far as one rule is concerned, says so in the log,
/// removes a window that has run out, and records a refusal. Threads: the trigger queue.
class KLPlanChecks {
 public:
  KLPlanChecks(const KLTriggerSurroundings& surroundings, KLGlobalWindows& globalWindows, KLConvertResults& convertResults)
      : around_(surroundings), globalWindows_(globalWindows), convertResults_(convertResults) {}

  bool checkRepeatDisplayForPlan(KLPopupPlan& plan) const;
  bool checkConvertWindowForPlan(KLPopupPlan& plan) const;
  bool checkGlobalIntervalWindowForPlan(const KLPopupPlan& plan) const;
  bool checkIntervalWindowForPlan(KLPopupPlan& plan) const;
  bool checkGlobalLimitForPlan(const KLPopupPlan& plan, const KLPopupConfig& config) const;
  bool checkReEnterWindowForPlan(KLPopupPlan& plan) const;

 private:
  /// Records a refusal of `plan` by `window`, where there is a recorder.
  void refuse(const KLPopupPlan& plan, KLDecision::Kind kind, const KLPlanAbstractWindow& window, std::int64_t count = 0,
              std::int64_t limit = 0) const;
  /// Takes down whose popup was the last, where there is a recorder.
  void noteLastCampaign() const;
  /// One of the global limits; answers whether it admits the plan.
  bool checkLimit(const KLPlanLimitModel& limit, const KLPopupPlan& plan) const;
  double now() const { return around_.time.clock.now(); }

  const KLTriggerSurroundings& around_;
  KLGlobalWindows& globalWindows_;
  KLConvertResults& convertResults_;
};

}  // namespace kaleo
