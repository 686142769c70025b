#include "Campaign/Popup/Show/KLPopupLoader.h"

#include "Campaign/Popup/Show/KLCampaignErrors.h"
#include "Foundation/KLJSON.h"

namespace kaleo {
namespace {

constexpr const char* kBundleName = "Kaleo.bundle";

KLPopupLoadResult contentMissing() { return {nullptr, KLCampaignErrors::popupContentMissing()}; }

}  // namespace

KLPopupLoadResult KLPopupLoader::loadPopupModelWithPopupWindowContent(const KLValue& content, const KLConfigOptions* options,
                                                                      KLCampaignPlanEvent& event) const {
  const auto text = dictionary_stringForKey(&content, "content");
  if (!text) return contentMissing();
  KLError error;
  const auto document = KLJSON::parse(*text, &error);
  if (!document) return {nullptr, error};

  auto popup = std::make_shared<KLLoadedPopup>(
      KLLoadedPopup{KLPopupModel(*document, KLPopupReading{*screen_, log_, resources_ / kBundleName}), {}});
  const auto& root = popup->model.element;
  if (!root) return contentMissing();  // a mask alone would lock the application
  root->layoutWithContainerWidth(KLShorterSide(*screen_), *measurer_);
  enumerateElementModel(*root, event);
  popup->pictures = KLPopupPictures::load(root.get(), options, resources_);
  return {std::move(popup), std::nullopt};
}

void enumerateElementModel(const KLPopupElementModel& element, KLCampaignPlanEvent& event) {
  const KLPopupPropertyModel& style = element.propertiesOrNone();
  if (element.type == KLPopupElementType::Label && style.msgType == "title") event.msgTitle = style.text;
  if (element.type == KLPopupElementType::Label && style.msgType == "content") event.msgContent = style.text;
  if (element.type == KLPopupElementType::Image) event.msgImageURL = style.image;
  for (const auto& child : element.subviews) enumerateElementModel(*child, event);
}

}  // namespace kaleo
