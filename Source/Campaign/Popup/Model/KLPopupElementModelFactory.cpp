#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"

#include "Campaign/Popup/Model/KLPopupContainerModel.h"
#include "Campaign/Popup/Model/KLPopupElementButtonModel.h"
#include "Campaign/Popup/Model/KLPopupElementImageModel.h"
#include "Campaign/Popup/Model/KLPopupElementLabelModel.h"
#include "Campaign/Popup/Model/KLPopupElementLinkModel.h"

namespace kaleo {
namespace {

std::shared_ptr<KLPopupElementModel> makeElement(const KLValue& dictionary, const KLPopupReading& reading) {
  switch (KLPopupElementTypeFromName(dictionary_stringForKey(&dictionary, "type"))) {
    case KLPopupElementType::Label:
      return std::make_shared<KLPopupElementLabelModel>(dictionary, reading);
    case KLPopupElementType::Image:
      return std::make_shared<KLPopupElementImageModel>(dictionary, reading);
    case KLPopupElementType::Button:
      return std::make_shared<KLPopupElementButtonModel>(dictionary, reading);
    case KLPopupElementType::Link:
      return std::make_shared<KLPopupElementLinkModel>(dictionary, reading);
    case KLPopupElementType::Column:
      return std::make_shared<KLPopupLayoutColumnModel>(dictionary, reading);
    case KLPopupElementType::Row:
      break;
  }
  return std::make_shared<KLPopupLayoutRowModel>(dictionary, reading);
}

bool isHidden(const KLValue& dictionary) {
  return dictionary_boolForKey(dictionary_valueForKey(&dictionary, "properties"), "isHidden");
}

}  // namespace

std::shared_ptr<KLPopupElementModel> KLPopupElementModelFactory::elementModelWithDictionary(const KLValue& dictionary) {
  if (!hasRoom()) return nullptr;
  ++count_;
  ++depth_;
  auto element = makeElement(dictionary, reading_);
  addSubviews(*element, dictionary);
  --depth_;
  return element;
}

void KLPopupElementModelFactory::addSubviews(KLPopupElementModel& element, const KLValue& dictionary) {
  const KLValue* entries = dictionary_valueForKey(&dictionary, "subviews");
  if (!entries) return;
  for (const KLValue& entry : entries->asArray()) {
    if (!entry.isObject() || isHidden(entry)) continue;
    if (auto child = elementModelWithDictionary(entry)) element.subviews.push_back(std::move(child));
  }
}

bool KLPopupElementModelFactory::hasRoom() {
  if (depth_ < kMaxDepth && count_ < kMaxElements) return true;
  if (!reported_) {
    reading_.log.error("Popup has more than {} elements or is more than {} levels deep, the rest is left out", kMaxElements,
                       kMaxDepth);
  }
  reported_ = true;
  return false;
}

}  // namespace kaleo
