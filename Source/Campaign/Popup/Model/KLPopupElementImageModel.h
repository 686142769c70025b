#pragma once

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// A picture from a URL.
class KLPopupElementImageModel final : public KLPopupElementModel {
 public:
  using KLPopupElementModel::KLPopupElementModel;
  std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const override;
};

}  // namespace kaleo
