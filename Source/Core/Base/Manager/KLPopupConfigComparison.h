#pragma once

#include <map>
#include <string>
#include <vector>

#include "Core/Model/KLPopupConfig.h"

namespace kaleo {

/// Names of windows to reset, as the server uses them.
inline constexpr const char* kKLAllWindows = "all_window";

/// The windows of a plan that the server's new version `plan` resets, given the stored version: the names in its "window_update"
/// whose stamps differ; without a "window_update" all windows, unless both versions carry the same time of their last update. Pure.
std::vector<std::string> planWindowsToUpdateForPlan(const KLPopupPlanModel& plan, const KLPopupPlanModel& stored);

/// Which windows a new configuration resets, by plan key.
struct KLPlanWindowResets {
  using ByPlan = std::map<std::string, std::vector<std::string>>;
  ByPlan removed;  ///< plans that the server dropped: applied to the stored configuration's plans
  ByPlan changed;  ///< plans in both: applied to the new configuration's plans
};

/// Compares two configurations plan by plan. Pure.
KLPlanWindowResets planWindowResets(const KLPopupConfig& config, const KLPopupConfig& stored);

/// The URLs of the pictures of all plans that may show: the values of every "image" and "backgroundImage" in the layout texts.
/// Pure. `now` in seconds since 1970.
std::vector<std::string> imagesForPopupConfig(const KLPopupConfig& config, double now);

}  // namespace kaleo
