#include "Core/Base/Campaign/KLCampaignPlanEvent.h"

#include "Core/Utils/KLVersion.h"

namespace kaleo {
namespace {

constexpr const char* kControlGroupStrategy = "-1";
constexpr const char* kDefaultStrategy = "0";
constexpr const char* kPlanTypeSection = "新资源位";
constexpr const char* kPlanTypeOperation = "运营计划";

template <class Value>
void setIfPresent(KLObject& properties, const char* key, const std::optional<Value>& value) {
  if (value) properties.set(key, *value);
}

KLValue strategyOf(const KLPopupPlanModel& plan) {
  if (plan.hasStrategy()) return *plan.strategyID;
  return plan.isControlGroup ? kControlGroupStrategy : kDefaultStrategy;
}

void setPlan(KLObject& properties, const KLPopupPlanModel& plan) {
  properties.set("$kl_plan_id", plan.planKey());
  if (plan.audienceID != 0) properties.set("$kl_audience_id", std::to_string(plan.audienceID));
  properties.set("$kl_plan_strategy_id", strategyOf(plan));
}

void setUser(KLObject& properties, const KaleoUser& user) {
  setIfPresent(properties, "kl_distinctId", user.distinctId);
  setIfPresent(properties, "kl_loginId", user.loginId);
  setIfPresent(properties, "kl_anonymousId", user.anonymousId);
}

std::shared_ptr<const KLPopupPlanModel> planOf(const KLCampaign& campaign, const KLCampaignSurroundings& surroundings) {
  return campaign.planID ? surroundings.planWithIdentifier(*campaign.planID) : nullptr;
}

}  // namespace

KLCampaignPlanEvent::KLCampaignPlanEvent(std::shared_ptr<const KLCampaign> shown, const KLCampaignSurroundings& surroundings)
    : campaign(std::move(shown)),
      planModel(planOf(*campaign, surroundings)),
      popupUUID(campaign->uuid),
      bridge_(surroundings.bridge) {}

KLObject KLCampaignPlanEvent::superProperties() const {
  const bool hasSection = planModel && planModel->hasSection();
  KLObject properties;
  if (planModel) setPlan(properties, *planModel);
  properties.set("$kl_plan_type", hasSection ? kPlanTypeSection : kPlanTypeOperation);
  properties.set("$kl_channel_service_name", "KALEO");
  properties.set("$kl_channel_category", "POPUP");
  properties.set("$kl_platform_tag", "IOS");
  setIfPresent(properties, "$kl_msg_id", popupUUID);
  properties.set("$kl_lib_version", kKLSDKVersion);
  setIfPresent(properties, "$kl_msg_title", msgTitle);
  setIfPresent(properties, "$kl_msg_content", msgContent);
  setIfPresent(properties, "$kl_msg_image_url", msgImageURL);
  if (hasSection) properties.set("$kl_section_id", *planModel->sectionID);
  return properties;
}

KLObject KLCampaignPlanEvent::displayPropertiesWithError(const std::optional<KLError>& error) const {
  KLObject properties = superProperties();
  properties.set("$kl_succeed", error ? 0 : 1);
  if (error) properties.set("$kl_fail_reason", error->localizedDescription);
  if (planModel && planModel->user) setUser(properties, *planModel->user);
  setIfPresent(properties, "$time", campaign->triggerTime);
  return properties;
}

KLObject KLCampaignPlanEvent::clickedPropertiesWithElementModel(const KLPopupElementModel* element) const {
  KLObject properties = superProperties();
  if (!element) return properties;
  setIfPresent(properties, "$kl_msg_element_type", element->typeName);
  setIfPresent(properties, "$kl_msg_element_content", element->propertiesOrNone().text);
  if (element->actions.empty()) return properties;
  const KLPopupActionModel& first = *element->actions.front();
  setIfPresent(properties, "$kl_msg_element_action", first.typeName);
  setIfPresent(properties, "$kl_msg_action_id", first.objectID);
  setIfPresent(properties, "$kl_close_type", first.closeType);
  return properties;
}

void KLCampaignPlanEvent::trackPlanPopupDisplayWithError(const std::optional<KLError>& error) const {
  track("$PlanPopupDisplay", displayPropertiesWithError(error));
}

void KLCampaignPlanEvent::trackPlanPopupClickWithElementModel(const KLPopupElementModel* element) const {
  track("$PlanPopupClick", clickedPropertiesWithElementModel(element));
}

void KLCampaignPlanEvent::track(const std::string& event, KLObject properties) const {
  bridge_.track(event, KLValue(std::move(properties)));
}

}  // namespace kaleo
