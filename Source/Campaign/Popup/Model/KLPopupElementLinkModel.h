#pragma once

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// An underlined text that takes taps.
class KLPopupElementLinkModel final : public KLPopupElementModel {
 public:
  using KLPopupElementModel::KLPopupElementModel;
  std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const override;
};

}  // namespace kaleo
