#include "preview/PreviewController.h"

namespace kaleo::tools {

std::shared_ptr<KLPopupViewController> controllerFor(const KLPopupModel& popup, const KLPresentation& presentation,
                                                     PreviewPictures& pictures, const PreviewPictures::Arrived& arrived) {
  const auto campaign = std::make_shared<KLCampaign>(std::nullopt, popup.cname, std::nullopt, KLValue());
  auto controller = std::make_shared<KLPopupViewController>(campaign, pictures.viewOf(popup, arrived), presentation);
  if (popup.properties && popup.properties->maskColor) controller->maskColor = *popup.properties->maskColor;
  controller->maskActions = popup.maskActions;
  return controller;
}

}  // namespace kaleo::tools
