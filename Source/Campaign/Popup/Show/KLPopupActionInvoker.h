#pragma once

#include "Campaign/Popup/Model/KLPopupActionModel.h"

namespace kaleo {

class KLPopupViewController;

/// Does what the library itself does for `action` of a tapped view: Copy puts its text on the pasteboard and never closes the
/// popup; Close, OpenLink and Customize close it when they may. The rest is the application's. Main thread.
void invokeAction(const KLPopupActionModel& action, KLPopupViewController& controller);

}  // namespace kaleo
