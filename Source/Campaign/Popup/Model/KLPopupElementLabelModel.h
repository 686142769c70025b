#pragma once

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// A text: a label as high as its text, or one that scrolls when its text is higher than the layout's `maxHeight`.
class KLPopupElementLabelModel final : public KLPopupElementModel {
 public:
  using KLPopupElementModel::KLPopupElementModel;

  /// Added to the height of a label that does not scroll, in points.
  static constexpr double kHeightAllowance = 4;

  void layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) override;
  std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const override;

 private:
  double measuredHeight(const KLTextMeasurer& measurer) const;

  /// Height of the whole text, rounded up to points; written by layout, read by views.
  double textHeight_ = 0;
};

}  // namespace kaleo
