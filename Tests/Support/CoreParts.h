#pragma once

#include <memory>

#include "Core/Base/Network/KLNetwork.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Utils/KLDateUtilities.h"
#include "Support/FakeHTTPSession.h"
#include "Support/RecordingDiagnosis.h"
#include "Support/StoreParts.h"
#include "kaleo/KLNotificationCenter.h"

namespace kaleo::testing {

/// Everything that trigger and manager stand on, for the user "server-user".
struct CoreParts : StoreParts {
  CoreParts() {
    diagnosis.set(recorder);
    user.setUserId("server-user");
  }

  KLCalendar monday{"Asia/Shanghai", KLWeekday::Monday};
  KLCalendar sunday{"Asia/Shanghai", KLWeekday::Sunday};
  KLPlanTime time{clock, monday, sunday};
  KLNotificationCenter notifications;
  FakeHTTPSession session;
  KLNetwork network{session, log, random};
  KLCurrentUser user;
  std::shared_ptr<RecordingDiagnosis> recorder = std::make_shared<RecordingDiagnosis>();
};

}  // namespace kaleo::testing
