#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"
#include "kaleo/KaleoActionModel.h"

namespace kaleo {

/// One action of an element or of the mask.
class KLPopupActionModel : public KaleoActionModel {
 public:
  using List = std::vector<std::shared_ptr<const KLPopupActionModel>>;

  KLPopupActionModel() = default;
  /// `dictionary` is an object. A customised action's value moves to `extra`, and is dropped when it is no object.
  explicit KLPopupActionModel(const KLValue& dictionary);

  /// The actions of `holder`, an object whose member "IOS" is an array of them, in order; none when it is anything else. What is no
  /// object in the array is skipped.
  static List listFrom(const KLValue* holder);
  /// Whether `holder` lists any action at all.
  static bool isListed(const KLValue* holder);

  std::optional<std::string> objectID;
  std::optional<std::string> typeName;  ///< as written
  bool closeable = false;               ///< whether the action closes the popup
  std::optional<std::string> closeType;

  /// Whether a tap with this first action does nothing and is not reported.
  bool isInert() const;

  /// An object with "id", "value", "type" (as written), "closeable" and "$kl_close_type"; absent ones are left out.
  KLValue toDictionary() const;
};

}  // namespace kaleo
