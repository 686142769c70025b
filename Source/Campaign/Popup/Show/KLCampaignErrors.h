#pragma once

#include <string>

#include "kaleo/KLError.h"

namespace kaleo {

/// The errors of campaigns that are not shown, with the texts that users of the analytics see.
namespace KLCampaignErrors {

inline KLError customContentMissing() { return KLError::kaleo(KLError::ContentMissing, "获取自定义触达内容为空"); }
inline KLError controlGroup() { return KLError::kaleo(KLError::ControlGroup, "对照组"); }
inline KLError refusedByApplication() {
  return KLError::kaleo(KLError::RefusedByApplication, "campaignShouldStart 接口返回 false");
}
inline KLError notTriggerPlan() { return KLError::kaleo(KLError::NotTriggerPlan, "计划下发 is_Trigger 为 false"); }
inline KLError callbackMissing() { return KLError::kaleo(KLError::CallbackMissing, "自定义触达计划未实现弹窗生命周期回调"); }
inline KLError popupContentMissing() { return KLError::kaleo(KLError::ContentMissing, "获取测试弹窗内容失败"); }

// Of outcomes only: the application is told nothing of them.
inline KLError displaced(const std::string& planID) {
  return {kKaleoErrorDomain, 0, "the popup of plan " + planID + " is still on screen"};
}
inline KLError windowLost() { return {kKaleoErrorDomain, 0, "the window was lost"}; }

}  // namespace KLCampaignErrors

/// An error as log lines write it.
inline std::string KLErrorDescription(const KLError& error) {
  return "Error Domain=" + error.domain + " Code=" + std::to_string(error.code) + " \"" + error.localizedDescription + "\"";
}

}  // namespace kaleo
