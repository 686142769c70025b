#pragma once

#include <functional>
#include <memory>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Nimbra/NBBridge.h"
#include "Core/Utils/KLDateUtilities.h"
#include "kaleo/KLCampaign.h"
#include "kaleo/KLConfigOptions.h"
#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLPlatform.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Presents a campaign; the presentation answers with one of the two campaign notifications.
using KLShowCampaign = std::function<void(std::shared_ptr<KLCampaign>)>;

/// What the trigger stands on. Lifetime: borrowed, outlives the trigger.
struct KLTriggerSurroundings {
  KLThreading& threading;
  std::shared_ptr<KLQueue> triggerQueue;
  KLNotificationCenter& notificationCenter;
  const NBBridge& bridge;
  const KLStoreManager& hostStore;
  const KLLog& log;
  KaleoDataStore& store;
  KLDiagnosisSlot& diagnosis;
  KLPlanTime time;
  const KLCurrentUser& user;
  KLRandom& random;
  KLNetwork& network;
  /// The base URL of the popup server now.
  std::function<std::string()> apiBaseURL;
  /// How popups are presented; an empty function when nothing is installed.
  std::function<KLShowCampaign()> showCampaign;
  /// The platform's plain console (see KLPlatform); may be empty.
  KLConsole console = {};
};

}  // namespace kaleo
