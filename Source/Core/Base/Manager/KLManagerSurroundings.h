#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/Base/Trigger/KLTriggerSurroundings.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Nimbra/NBBridge.h"
#include "Core/Utils/KLDateUtilities.h"
#include "kaleo/KLHost.h"
#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLPlatform.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// What presentation offers to the manager. Any of them may be empty.
struct KLPresentationHooks {
  KLShowCampaign showCampaign;
  KLShowCampaign showTestCampaign;
  /// Downloads the pictures at these URLs ahead.
  std::function<void(const std::vector<std::string>&)> downloadImage;
};

/// What the manager stands on. Lifetime: borrowed, outlives the manager.
struct KLManagerSurroundings {
  KLHostRegistry& host;
  KLThreading& threading;
  KLNotificationCenter& notificationCenter;
  const NBBridge& bridge;
  const KLStoreManager& hostStore;
  const KLLog& log;
  KLDiagnosisSlot& diagnosis;
  KLCurrentUser& user;
  KLPlanTime time;
  KLRandom& random;
  KLNetwork& network;
  KLReachabilitySource& reachability;
  KLDirectories directories;
  /// Makes the resolvers. Called once, during start, on the trigger queue.
  std::function<KLPresentationHooks()> makePresentation;
  /// Makes the recorder of decisions; empty when the component is absent. Called once, during start, on the trigger queue.
  std::function<std::shared_ptr<KLDiagnosis>()> makeDiagnosis;
  /// The platform's plain console; may be empty.
  KLConsole console = {};
};

}  // namespace kaleo
