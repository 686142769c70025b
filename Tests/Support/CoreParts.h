#pragma once

#include <memory>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Nimbra/NBBridge.h"
#include "Core/Utils/KLDateUtilities.h"
#include "Foundation/KLSystem.h"
#include "Support/FakeHTTPSession.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/RecordingDiagnosis.h"
#include "Support/TemporaryDirectory.h"
#include "kaleo/KLNotificationCenter.h"

namespace kaleo::testing {

/// Everything that trigger and manager stand on, in virtual time, with a directory of its own, for the user "server-user".
struct CoreParts {
  CoreParts() {
    diagnosis.set(recorder);
    user.setUserId("server-user");
  }

  TemporaryDirectory directory;
  ManualThreading threads;
  ManualThreading::Clock clock{threads};
  FakeHost host;
  KLLog log{host.registry};
  NBBridge bridge{host.registry, log};
  KLStoreManager hostStore{host.registry};
  KLCalendar monday{"Asia/Shanghai", KLWeekday::Monday};
  KLCalendar sunday{"Asia/Shanghai", KLWeekday::Sunday};
  KLPlanTime time{clock, monday, sunday};
  KLSystemRandom random;
  KLNotificationCenter notifications;
  FakeHTTPSession session;
  KLNetwork network{session, log, random};
  KLCurrentUser user;
  std::shared_ptr<RecordingDiagnosis> recorder = std::make_shared<RecordingDiagnosis>();
  KLDiagnosisSlot diagnosis;
};

}  // namespace kaleo::testing
