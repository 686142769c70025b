#pragma once

#include <memory>

#include "Campaign/Popup/Show/KLPopupViewController.h"
#include "preview/PreviewPictures.h"

namespace kaleo::tools {

/// A controller that is ready to show `popup` as the library would. Main thread.
std::shared_ptr<KLPopupViewController> controllerFor(const KLPopupModel& popup, const KLPresentation& presentation,
                                                     PreviewPictures& pictures, const PreviewPictures::Arrived& arrived);

}  // namespace kaleo::tools
