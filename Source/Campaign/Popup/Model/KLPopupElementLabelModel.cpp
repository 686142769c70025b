#include "Campaign/Popup/Model/KLPopupElementLabelModel.h"

#include <cmath>

namespace kaleo {

void KLPopupElementLabelModel::layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) {
  KLPopupElementModel::layoutWithContainerWidth(width, measurer);
  textHeight_ = layout ? measuredHeight(measurer) : 0;
  const bool overflows = textHeight_ > layoutOrZero().maxHeight;
  const bool scrolls = propertiesOrNone().scrollableY && overflows;
  if (properties) properties->scrollableY = scrolls;
  if (layout) layout->height = scrolls ? layout->maxHeight : textHeight_ + kHeightAllowance;
}

double KLPopupElementLabelModel::measuredHeight(const KLTextMeasurer& measurer) const {
  const auto& text = propertiesOrNone().attributedText();
  // Rounded to single precision first, so that a height that is whole but for the last digits of a double stays that height.
  return text ? std::ceil(static_cast<float>(measurer.measure(*text, layout->width).height)) : 0;
}

std::unique_ptr<KLView> KLPopupElementLabelModel::view(const KLPopupViewSurroundings&) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  auto view = makeView(style.scrollableY ? KLView::Kind::TextView : KLView::Kind::Label);
  view->text = style.attributedText();
  view->backgroundColor = style.backgroundColor;
  view->contentHeight = style.scrollableY ? textHeight_ : 0;
  view->elementModel = shared_from_this();
  return view;
}

}  // namespace kaleo
