#include "Campaign/Popup/Model/KLPopupActionModel.h"

#include "Campaign/Popup/Model/KLPopupJSON.h"

namespace kaleo {
namespace {

constexpr const char* kPlatformKey = "IOS";

KLPopupActionType typeFromName(const std::optional<std::string>& name) {
  if (name == "close") return KLPopupActionType::Close;
  if (name == "openlink") return KLPopupActionType::OpenLink;
  if (name == "copy") return KLPopupActionType::Copy;
  if (name == "customize") return KLPopupActionType::Customize;
  return KLPopupActionType::Other;
}

void setText(KLObject& object, const char* key, const std::optional<std::string>& text) {
  if (text) object.set(key, *text);
}

KLValue copyExtra(const KLValue& dictionary) {
  KLObject extra;
  extra.setIfPresent("copied_tip", dictionary_valueForKey(&dictionary, "copied_tip"));
  return extra;
}

}  // namespace

KLPopupActionModel::KLPopupActionModel(const KLValue& dictionary)
    : objectID(dictionary_identifierForKey(&dictionary, "id")),
      typeName(dictionary_stringForKey(&dictionary, "type")),
      closeable(dictionary_boolForKey(&dictionary, "closeable")),
      closeType(dictionary_stringForKey(&dictionary, "$kl_close_type")) {
  type = typeFromName(typeName);
  if (const KLValue* payload = dictionary_valueForKey(&dictionary, "value")) value = *payload;
  if (type == KLPopupActionType::Copy) extra = copyExtra(dictionary);
  if (type == KLPopupActionType::Customize) {
    if (value && value->isObject()) extra = value;
    value.reset();
  }
}

bool KLPopupActionModel::isListed(const KLValue* holder) {
  const KLValue* list = dictionary_valueForKey(holder, kPlatformKey);
  return list && !list->asArray().empty();
}

KLPopupActionModel::List KLPopupActionModel::listFrom(const KLValue* holder) {
  List actions;
  const KLValue* list = dictionary_valueForKey(holder, kPlatformKey);
  if (!list) return actions;
  for (const KLValue& entry : list->asArray()) {
    if (entry.isObject()) actions.push_back(std::make_shared<const KLPopupActionModel>(entry));
  }
  return actions;
}

bool KLPopupActionModel::isInert() const {
  return type == KLPopupActionType::Other || (type == KLPopupActionType::Close && !closeable);
}

KLValue KLPopupActionModel::toDictionary() const {
  KLObject object;
  setText(object, "id", objectID);
  if (value) object.set("value", *value);
  setText(object, "type", typeName);
  object.set("closeable", closeable);
  setText(object, "$kl_close_type", closeType);
  return object;
}

}  // namespace kaleo
