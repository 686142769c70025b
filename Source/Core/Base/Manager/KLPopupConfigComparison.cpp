#include "Core/Base/Manager/KLPopupConfigComparison.h"

#include <string_view>

namespace kaleo {
namespace {

std::vector<std::string> changedWindows(const KLObject& stamps, const KLPopupPlanModel& stored) {
  std::vector<std::string> names;
  for (const auto& [name, stamp] : stamps) {
    const KLValue* const old = stored.windowUpdate ? stored.windowUpdate->find(name) : nullptr;
    if (!old || !(*old == stamp)) names.push_back(name);
  }
  return names;
}

std::map<std::string_view, const KLPopupPlanModel*> plansByKey(const KLPopupConfig& config) {
  std::map<std::string_view, const KLPopupPlanModel*> plans;
  for (const auto& plan : config.popupPlanModels) plans.emplace(plan->planKey(), plan.get());
  return plans;
}

bool mayShow(const KLPopupPlanModel& plan, double now) {
  if (plan.isExpired(now) || !plan.isAudience || !plan.isActive()) return false;
  return plan.hasStrategy() ? plan.isTrigger : !plan.isControlGroup;
}

/// Appends what stands between each `key` (with its opening quote) and the next quote.
void appendValues(std::string_view text, std::vector<std::string>& values) {
  constexpr std::string_view keys[] = {R"("image":")", R"("backgroundImage":")"};
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t start = std::string_view::npos;
    for (const std::string_view key : keys) {
      const std::size_t found = text.find(key, at);
      if (found != std::string_view::npos) start = std::min(start, found + key.size());
    }
    if (start == std::string_view::npos) return;
    const std::size_t end = text.find('"', start);
    if (end == std::string_view::npos) return;
    values.emplace_back(text.substr(start, end - start));
    at = end;
  }
}

}  // namespace

std::vector<std::string> planWindowsToUpdateForPlan(const KLPopupPlanModel& plan, const KLPopupPlanModel& stored) {
  if (plan.windowUpdate) return changedWindows(plan.windowUpdate->asObject(), stored);
  if (plan.lastUpdateConfigTime == stored.lastUpdateConfigTime) return {};
  return {kKLAllWindows};
}

KLPlanWindowResets planWindowResets(const KLPopupConfig& config, const KLPopupConfig& stored) {
  KLPlanWindowResets resets;
  const auto newPlans = plansByKey(config);
  const auto storedPlans = plansByKey(stored);
  for (const auto& [key, plan] : storedPlans) {
    if (!newPlans.contains(key)) resets.removed[std::string(key)] = {kKLAllWindows};
  }
  for (const auto& [key, plan] : newPlans) {
    const auto old = storedPlans.find(key);
    if (old == storedPlans.end()) continue;
    if (auto names = planWindowsToUpdateForPlan(*plan, *old->second); !names.empty()) {
      resets.changed[std::string(key)] = std::move(names);
    }
  }
  return resets;
}

std::vector<std::string> imagesForPopupConfig(const KLPopupConfig& config, double now) {
  std::vector<std::string> urls;
  for (const auto& plan : config.popupPlanModels) {
    const KLValue* const content = plan->popupWindowContent.find("content");
    if (content && content->isString() && mayShow(*plan, now)) appendValues(content->asString(), urls);
  }
  return urls;
}

}  // namespace kaleo
