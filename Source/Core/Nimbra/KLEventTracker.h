#pragma once

#include "kaleo/KLHost.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What the interception of the host's tracking does with a record: a "$PlanPopupDisplay" event is attributed to the user whom its
/// properties "kl_distinctId", "kl_loginId" and "kl_anonymousId" name, whoever is logged in by now, and loses these properties.
/// Every other record passes unchanged. Pure; any thread.
KLValue nb_trackEvent(const KLValue& record);

/// Installs the interception in the host's tracker, the present one and those registered later.
namespace KLSwizzler {
void swizzle(KLHostRegistry& host);
/// Takes the interception away.
void restore(KLHostRegistry& host);
}  // namespace KLSwizzler

}  // namespace kaleo
