#pragma once

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// A button with a title, a picture of the library's bundle or one from a URL.
class KLPopupElementButtonModel final : public KLPopupElementModel {
 public:
  using KLPopupElementModel::KLPopupElementModel;
  std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const override;

 private:
  void setBackground(KLView& view, const KLPopupViewSurroundings& surroundings) const;
};

}  // namespace kaleo
