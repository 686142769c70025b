#include "Campaign/Popup/Model/KLPopupModel.h"

#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"

namespace kaleo {

KLPopupModel::KLPopupModel(const KLValue& document, const KLPopupReading& reading)
    : cname(dictionary_identifierForKey(&document, "cname")), objectID(dictionary_identifierForKey(&document, "id")) {
  const KLValue* style = dictionary_valueForKey(&document, "properties");
  if (style && style->isObject()) properties.emplace(*style, reading);
  const KLValue* root = dictionary_valueForKey(&document, "template");
  if (root && root->isObject()) element = KLPopupElementModelFactory(reading).elementModelWithDictionary(*root);
  maskActions = maskActionsWithProperties(style);
}

KLPopupActionModel::List KLPopupModel::maskActionsWithProperties(const KLValue* properties) {
  const KLValue* holder = dictionary_valueForKey(properties, "maskAction");
  return KLPopupActionModel::isListed(holder) ? KLPopupActionModel::listFrom(holder) : defaultMaskActionsWithProperties(properties);
}

KLPopupActionModel::List KLPopupModel::defaultMaskActionsWithProperties(const KLValue* properties) {
  auto action = std::make_shared<KLPopupActionModel>();
  action->type = KLPopupActionType::Close;
  action->typeName = "close";
  action->closeType = "POPUP_CLOSE_MASK";
  action->closeable = dictionary_boolForKey(properties, "maskCloseEnabled");
  action->objectID = dictionary_identifierForKey(properties, "maskActionId");
  return {action};
}

}  // namespace kaleo
