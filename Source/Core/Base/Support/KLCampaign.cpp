#include "kaleo/KLCampaign.h"

namespace kaleo {
namespace {

constexpr const char* kCustomizedType = "CUSTOMIZED";

}  // namespace

KLCampaign::KLCampaign(std::optional<std::string> campaignPlanID, std::optional<std::string> campaignName,
                       std::optional<std::string> campaignUUID, const KLValue& popupWindowContent)
    : planID(std::move(campaignPlanID)),
      name(std::move(campaignName)),
      uuid(std::move(campaignUUID)),
      campaignContent(popupWindowContent.isObject() ? popupWindowContent : KLValue(KLObject{})) {
  if (const KLValue* const text = campaignContent.find("content"); text && text->isString()) content = text->asString();
  const KLValue* const popupType = campaignContent.find("popup_type");
  if (popupType && popupType->isString() && popupType->asString() == kCustomizedType) type = kTypeCustomized;
}

}  // namespace kaleo
