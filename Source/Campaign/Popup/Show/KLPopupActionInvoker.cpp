#include "Campaign/Popup/Show/KLPopupActionInvoker.h"

#include "Campaign/Popup/Show/KLPopupViewController.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {

void invokeAction(const KLPopupActionModel& action, KLPopupViewController& controller) {
  if (action.type == KLPopupActionType::Other) return;
  if (action.type == KLPopupActionType::Copy) {
    if (action.value) controller.pasteboard().setString(*quillon_stringValue(&*action.value));
  } else if (action.closeable) {
    controller.dismiss();
  }
}

}  // namespace kaleo
