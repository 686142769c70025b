#include "Campaign/Popup/Model/KLPopupElementModel.h"

#include <cmath>

namespace kaleo {
namespace {

template <class Model>
std::optional<Model> modelForKey(const KLValue& dictionary, std::string_view key, const KLPopupReading& reading) {
  const KLValue* value = dictionary_valueForKey(&dictionary, key);
  return value && value->isObject() ? std::optional<Model>(std::in_place, *value, reading) : std::nullopt;
}

}  // namespace

KLPopupElementType KLPopupElementTypeFromName(const std::optional<std::string>& name) {
  if (name == "label") return KLPopupElementType::Label;
  if (name == "image") return KLPopupElementType::Image;
  if (name == "button" || name == "image_button") return KLPopupElementType::Button;
  if (name == "link") return KLPopupElementType::Link;
  return name == "column" ? KLPopupElementType::Column : KLPopupElementType::Row;
}

KLPopupElementModel::KLPopupElementModel(const KLValue& dictionary, const KLPopupReading& reading)
    : layout(modelForKey<KLPopupLayoutModel>(dictionary, "layout", reading)),
      properties(modelForKey<KLPopupPropertyModel>(dictionary, "properties", reading)),
      typeName(dictionary_stringForKey(&dictionary, "type")),
      actions(KLPopupActionModel::listFrom(dictionary_valueForKey(&dictionary, "action"))) {
  type = KLPopupElementTypeFromName(typeName);
}

void KLPopupElementModel::layoutWithContainerWidth(double width, const KLTextMeasurer&) {
  if (!layout) return;
  if (layout->width > 0 && layout->width < 1) {
    layout->width = std::ceil(layout->width * width);
  } else if (layout->width == 0) {
    layout->width = width;
  }
  layout->x = originXWithContainerWidth(width);
  layout->y = layout->margin.top;
}

double KLPopupElementModel::originXWithContainerWidth(double width) const {
  const KLPopupLayoutModel& own = layoutOrZero();
  switch (own.align) {
    case KLPopupAlign::Center:
      return std::ceil(width * 0.5 - own.width * 0.5);
    case KLPopupAlign::Right:
      return width - own.width - own.margin.right;
    case KLPopupAlign::Left:
      break;
  }
  return own.margin.left;
}

const KLPopupLayoutModel& KLPopupElementModel::layoutOrZero() const {
  static const KLPopupLayoutModel zero;
  return layout ? *layout : zero;
}

const KLPopupPropertyModel& KLPopupElementModel::propertiesOrNone() const {
  static const KLPopupPropertyModel none;
  return properties ? *properties : none;
}

void KLPopupElementModel::moveBy(double dx, double dy) {
  if (!layout) return;
  layout->x += dx;
  layout->y += dy;
}

std::unique_ptr<KLView> KLPopupElementModel::view(const KLPopupViewSurroundings&) const { return makeView(KLView::Kind::Plain); }

std::unique_ptr<KLView> KLPopupElementModel::makeView(KLView::Kind kind) const {
  auto view = std::make_unique<KLView>(kind);
  view->frame = frame();
  return view;
}

void KLPopupElementModel::attachTo(KLView& view) const {
  view.elementModel = shared_from_this();
  view.popupActions = actions;
  // A picture's text is drawn nowhere: it is what the picture says.
  view.accessibility = {propertiesOrNone().text.value_or(""), std::nullopt, type == KLPopupElementType::Link};
  if (!actions.empty()) view.accessibility.action = actions.front()->type;
}

}  // namespace kaleo
