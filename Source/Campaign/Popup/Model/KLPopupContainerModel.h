#pragma once

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// What holds other elements and lays them out: the base of columns and rows.
class KLPopupContainerModel : public KLPopupElementModel {
 public:
  using KLPopupElementModel::KLPopupElementModel;
  std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const override;

 protected:
  /// The width that each child sees, in a container of `width` points.
  double innerWidth(double width) const;
};

/// Children one under the other. A positive height of its own is kept, and what goes beyond it is clipped.
class KLPopupLayoutColumnModel final : public KLPopupContainerModel {
 public:
  using KLPopupContainerModel::KLPopupContainerModel;
  void layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) override;
};

/// Children side by side, each of which sees the row's whole width. A height of its own is replaced.
class KLPopupLayoutRowModel final : public KLPopupContainerModel {
 public:
  using KLPopupContainerModel::KLPopupContainerModel;
  void layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) override;
};

}  // namespace kaleo
