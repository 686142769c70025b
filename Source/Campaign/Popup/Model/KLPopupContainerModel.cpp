#include "Campaign/Popup/Model/KLPopupContainerModel.h"

#include <algorithm>

#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"

namespace kaleo {
namespace {

// The lower edge of a laid out child with its margin; 0 for a child without a layout, whatever came before it.
double bottomOf(const KLPopupElementModel& child) {
  const KLPopupLayoutModel& layout = child.layoutOrZero();
  return layout.y + layout.height + layout.margin.bottom;
}

double rightOf(const KLPopupElementModel& child) {
  const KLPopupLayoutModel& layout = child.layoutOrZero();
  return layout.x + layout.width + layout.margin.right;
}

}  // namespace

double KLPopupContainerModel::innerWidth(double width) const {
  const KLPopupLayoutModel& own = layoutOrZero();
  return (own.width != 0 ? own.width : width) - own.padding.left - own.padding.right;
}

std::unique_ptr<KLView> KLPopupContainerModel::view(const KLPopupViewSurroundings& surroundings) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  auto view = makeView(KLView::Kind::Plain);
  KLSetBorder(*view, style);
  KLRoundCorners(*view, style);
  view->backgroundColor = style.backgroundColor;
  if (style.backgroundImage) {
    KLView& picture = view->addSubview(std::make_unique<KLView>(KLView::Kind::ImageView));
    picture.frame = {0, 0, view->frame.width, view->frame.height};
    quillon_setImageWithURLString(picture, style.backgroundImage, surroundings.pictures.placeholder, surroundings.downloader);
  }
  view->clipsToBounds = true;
  return view;
}

void KLPopupLayoutColumnModel::layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) {
  KLPopupElementModel::layoutWithContainerWidth(width, measurer);
  const KLEdgeInsets padding = layoutOrZero().padding;
  double cursor = padding.top;
  for (const auto& child : subviews) {
    child->layoutWithContainerWidth(innerWidth(width), measurer);
    move(*child, padding.left, cursor);
    cursor = bottomOf(*child);
  }
  if (layout && layout->height <= 0) layout->height = cursor + padding.bottom;
}

void KLPopupLayoutRowModel::layoutWithContainerWidth(double width, const KLTextMeasurer& measurer) {
  KLPopupElementModel::layoutWithContainerWidth(width, measurer);
  const KLEdgeInsets padding = layoutOrZero().padding;
  double cursor = padding.left;
  double bottom = 0;
  for (const auto& child : subviews) {
    child->layoutWithContainerWidth(innerWidth(width), measurer);
    move(*child, cursor, padding.top);
    bottom = std::max(bottom, bottomOf(*child));
    cursor = rightOf(*child);
  }
  if (layout) layout->height = bottom + padding.bottom;
}

}  // namespace kaleo
