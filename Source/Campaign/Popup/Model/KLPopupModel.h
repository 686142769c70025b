#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// A whole popup: its root element, and what lies around it.
class KLPopupModel {
 public:
  /// Any document is taken; one that is no object is an empty popup.
  KLPopupModel(const KLValue& document, const KLPopupReading& reading);

  std::optional<std::string> cname;
  std::optional<std::string> objectID;
  std::optional<KLPopupPropertyModel> properties;
  std::shared_ptr<KLPopupElementModel> element;  ///< null when the document has no "template"
  /// What a tap beside the popup does.
  KLPopupActionModel::List maskActions;

  /// The actions listed in the document's "properties"; without any, the default one.
  static KLPopupActionModel::List maskActionsWithProperties(const KLValue* properties);
  /// One action that closes the popup when "maskCloseEnabled" says so.
  static KLPopupActionModel::List defaultMaskActionsWithProperties(const KLValue* properties);
};

}  // namespace kaleo
