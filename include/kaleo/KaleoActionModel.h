#pragma once

#include <optional>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

enum class KLPopupActionType { Close = 0, OpenLink = 1, Copy = 2, Customize = 3, Other = 4 };

/// What a tap does, as the application sees it. The library itself closes popups and copies texts; opening links and
/// customised actions are the application's.
class KALEO_API KaleoActionModel {
 public:
  KaleoActionModel() = default;
  virtual ~KaleoActionModel() = default;

  KLPopupActionType type = KLPopupActionType::Close;
  /// The link of OpenLink, the text of Copy.
  std::optional<KLValue> value;
  /// The dictionary of Customize; for Copy an object with "copied_tip", a text to show after copying.
  std::optional<KLValue> extra;
};

}  // namespace kaleo
