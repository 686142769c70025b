#pragma once

#include <QImage>

#include "preview/PreviewArguments.h"
#include "preview/PreviewPictures.h"

namespace kaleo::tools {

/// `popup` at rest over a white screen, when each of its pictures has come or failed; animated ones show their first frame. Runs
/// the event loop meanwhile. Main thread.
QImage paintPreview(const KLPopupModel& popup, const PreviewArguments& arguments, PreviewPictures& pictures,
                    const PreviewPictures::Arrived& arrived);

}  // namespace kaleo::tools
