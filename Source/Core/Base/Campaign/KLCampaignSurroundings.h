#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/Model/KLPopupPlanModel.h"
#include "Core/Nimbra/NBBridge.h"
#include "kaleo/KLConfigOptions.h"
#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLPopupOutcome.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// What resolvers and plan events stand on. Lifetime: borrowed, outlives the resolvers.
struct KLCampaignSurroundings {
  KLThreading& threading;
  KLQueue& mainQueue;
  KLNotificationCenter& notificationCenter;
  const NBBridge& bridge;
  const KLLog& log;
  /// The library's options; null before the start.
  std::function<std::shared_ptr<KLConfigOptions>()> options;
  /// The plan in force with that id (decimal), or null. Any thread.
  std::function<std::shared_ptr<const KLPopupPlanModel>(const std::string& planID)> planWithIdentifier;
  /// Told what became of each plan's popup, before the notification that it has ended or failed. Any thread; may be empty.
  std::function<void(KLPopupOutcome)> noteOutcome = {};
};

}  // namespace kaleo
