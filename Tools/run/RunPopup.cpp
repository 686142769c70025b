#include "run/RunPopup.h"

#include <fmt/format.h>

#include <vector>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Foundation/KLJSON.h"
#include "kaleo/KLView.h"
#include "popup/ElementValue.h"

namespace kaleo::tools {
namespace {

constexpr int kPointsAcross = 16;  ///< of an element, where its middle cannot be tapped

KLValue orNull(const std::optional<std::string>& text) { return text ? KLValue(*text) : KLValue(); }

void collect(const KLPopupElementModel& element, KLValue::Array& found) {
  KLValue::Array actions;
  for (const auto& action : element.actions) actions.push_back(valueOf(*action));
  const KLPopupPropertyModel& style = element.propertiesOrNone();
  KLObject value = elementValue(element);
  value.set("text", orNull(style.text));
  value.set("image", orNull(style.image));
  value.set("actions", std::move(actions));
  found.emplace_back(std::move(value));
  for (const auto& child : element.subviews) collect(*child, found);
}

const char* wordOf(KLPopupActionType type) {
  switch (type) {
    case KLPopupActionType::Close:
      return "close";
    case KLPopupActionType::OpenLink:
      return "openlink";
    case KLPopupActionType::Copy:
      return "copy";
    case KLPopupActionType::Customize:
      return "customize";
    case KLPopupActionType::Other:
      break;
  }
  return "other";
}

void collectTappable(KLView& view, std::vector<KLView*>& found) {
  if (!view.popupActions.empty()) found.push_back(&view);
  for (const auto& subview : view.subviews()) collectTappable(*subview, found);
}

KLPoint pointOf(const KLRect& frame, double across, double down) {
  return {frame.x + frame.width * across, frame.y + frame.height * down};
}

/// What takes a tap at `point` of the window within the popup; null: nothing of it does.
KLView* viewAt(KLView& content, KLPoint point) { return content.hitTest({point.x - content.frame.x, point.y - content.frame.y}); }

bool isHit(KLView& mask, KLView& content, const KLView& view, KLPoint point) {
  return mask.frame.contains(point) && viewAt(content, point) == &view;
}

std::optional<KLPoint> reachablePoint(KLView& mask, KLView& content, const KLView& view) {
  const KLRect frame = view.frameInRoot();
  if (const KLPoint middle = pointOf(frame, 0.5, 0.5); isHit(mask, content, view, middle)) return middle;
  for (int i = 0; i < kPointsAcross * kPointsAcross; ++i) {
    const KLPoint point = pointOf(frame, (i % kPointsAcross + 0.5) / kPointsAcross, (i / kPointsAcross + 0.5) / kPointsAcross);
    if (isHit(mask, content, view, point)) return point;
  }
  return std::nullopt;
}

std::optional<KLPoint> pointBeside(KLView& mask, const KLView& content) {
  constexpr double kNear = 0.001, kFar = 0.999;
  for (const double across : {kNear, kFar}) {
    for (const double down : {kNear, kFar}) {
      const KLPoint corner = pointOf(mask.frame, across, down);
      if (!content.frame.contains(corner)) return corner;
    }
  }
  return std::nullopt;
}

bool isMoving(const KLView& content) { return content.alpha != 1 || content.transform != KLView::Transform{}; }

}  // namespace

KLValue valueOf(const KaleoActionModel& action) {
  const auto* const layoutAction = dynamic_cast<const KLPopupActionModel*>(&action);
  KLObject object = layoutAction ? layoutAction->toDictionary().asObject() : KLObject{};
  if (!object.contains("type")) object.set("type", wordOf(action.type));
  if (action.value) object.set("value", *action.value);
  if (action.extra) object.set("extra", *action.extra);
  return object;
}

KLValue elementsOf(const KLCampaign& campaign, const KLPresentation& presentation, const std::filesystem::path& resources) {
  KLValue::Array found;
  const auto document = KLJSON::parse(campaign.content);
  if (!document) return found;
  const KLHostRegistry nobody;  // the library has logged what is odd about the layout
  const KLPopupModel popup(*document, {*presentation.screen, KLLog(nobody), resources / "Kaleo.bundle"});
  if (!popup.element) return found;
  popup.element->layoutWithContainerWidth(KLShorterSide(*presentation.screen), *presentation.textMeasurer);
  collect(*popup.element, found);
  return found;
}

std::string tapElement(KLHeadlessWindow* window, std::size_t number) {
  if (!window) return "no popup is on screen";
  KLView& mask = *window->root();
  KLView& content = *mask.subviews().front();
  if (isMoving(content)) return "the popup is still coming or going";
  std::vector<KLView*> views;
  collectTappable(content, views);
  if (number > views.size()) return fmt::format("the popup has {} elements that take taps", views.size());
  const auto point = number == 0 ? pointBeside(mask, content) : reachablePoint(mask, content, *views[number - 1]);
  if (!point) return number == 0 ? "the popup covers the whole mask" : "the element is covered, or out of the window";
  window->tap(*point);
  return "";
}

}  // namespace kaleo::tools
