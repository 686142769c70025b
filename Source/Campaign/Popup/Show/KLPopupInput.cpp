#include "Campaign/Popup/Show/KLPopupInput.h"

#include <algorithm>

namespace kaleo {
namespace {

using Kind = KLView::Kind;

KLView* viewOf(const std::weak_ptr<KLView*>& reference) {
  const auto living = reference.lock();
  return living ? *living : nullptr;
}

// Whether what lies under `content` at `point` is out of reach. Labels and pictures without actions let taps through.
bool covers(const KLView& content, KLPoint point) {
  const bool letsThrough = content.kind() == Kind::Label || content.kind() == Kind::ImageView;
  return !letsThrough && KLRect{0, 0, content.frame.width, content.frame.height}.contains(point);
}

void setHighlighted(KLView& view, bool on) {
  if (view.kind() != Kind::Button || view.highlighted == on) return;
  view.highlighted = on;
  view.setNeedsDisplay();
}

void setFocused(KLView& view, bool on) {
  view.focused = on;
  view.setNeedsDisplay();
}

void scrollBy(KLView& text, double points) {
  const double most = std::max(0.0, text.contentHeight - text.frame.height);
  const double offset = std::clamp(text.contentOffsetY + points, 0.0, most);
  if (offset == text.contentOffsetY) return;
  text.contentOffsetY = offset;
  text.setNeedsDisplay();
}

void collectTappable(KLView& view, std::vector<KLView*>& found) {
  if (!view.popupActions.empty()) found.push_back(&view);
  for (const auto& subview : view.subviews()) collectTappable(*subview, found);
}

std::vector<KLView*> tappableViews(KLView& root) {
  std::vector<KLView*> found;
  collectTappable(root, found);
  return found;
}

KLView* firstText(KLView& view) {
  if (view.kind() == Kind::TextView) return &view;
  for (const auto& subview : view.subviews()) {
    if (KLView* text = firstText(*subview)) return text;
  }
  return nullptr;
}

bool isFocused(const KLView* view) { return view->focused; }

}  // namespace

void KLAddActionsForView(KLView& view) {
  for (const auto& subview : view.subviews()) KLAddActionsForView(*subview);
  if (!view.popupActions.empty()) view.userInteractionEnabled = true;
}

KLView* KLPopupInput::target(KLPoint point) {
  const KLPoint inside{point.x - content_.frame.x, point.y - content_.frame.y};
  if (KLView* view = content_.hitTest(inside)) return view;
  const bool reachesMask = mask_.userInteractionEnabled && !covers(content_, inside) && mask_.frame.contains(point);
  return reachesMask ? &mask_ : nullptr;
}

void KLPopupInput::pointer(KLPointerPhase phase, KLPoint point) {
  switch (phase) {
    case KLPointerPhase::Down:
      return press(point);
    case KLPointerPhase::Move:
      return drag(point);
    case KLPointerPhase::Up:
      return release(point);
    case KLPointerPhase::Cancel:
      return cancel();
  }
}

void KLPopupInput::press(KLPoint point) {
  cancel();
  KLView* view = target(point);
  if (!view) return;
  held_ = view->weakReference();
  lastY_ = point.y;
  setHighlighted(*view, true);
}

void KLPopupInput::drag(KLPoint point) {
  KLView* view = viewOf(held_);
  if (!view) return;
  if (view->kind() == Kind::TextView) {
    scrollBy(*view, lastY_ - point.y);
    lastY_ = point.y;
  } else {
    setHighlighted(*view, target(point) == view);
  }
}

void KLPopupInput::release(KLPoint point) {
  KLView* view = viewOf(held_);
  cancel();
  if (view && view->kind() != Kind::TextView && target(point) == view) click_(*view);
}

void KLPopupInput::cancel() {
  if (KLView* view = viewOf(held_)) setHighlighted(*view, false);
  held_.reset();
}

void KLPopupInput::scroll(KLPoint point, double deltaY) {
  KLView* view = target(point);
  if (view && view->kind() == Kind::TextView) scrollBy(*view, deltaY);
}

void KLPopupInput::key(KLKey key) {
  switch (key) {
    case KLKey::Tab:
      return moveFocus(true);
    case KLKey::BackTab:
      return moveFocus(false);
    case KLKey::Activate:
      return activate();
    case KLKey::Escape:
      if (mask_.userInteractionEnabled) click_(mask_);
      return;
    case KLKey::Up:
      return scrollText(-kLineStep, 0);
    case KLKey::Down:
      return scrollText(kLineStep, 0);
    case KLKey::PageUp:
      return scrollText(0, -1);
    case KLKey::PageDown:
      return scrollText(0, 1);
  }
}

void KLPopupInput::moveFocus(bool forward) {
  const auto views = tappableViews(content_);
  if (views.empty()) return;
  const auto old = std::find_if(views.begin(), views.end(), isFocused);
  const std::size_t count = views.size();
  const auto at = static_cast<std::size_t>(old - views.begin());
  const std::size_t none = forward ? 0 : count - 1;
  const std::size_t next = old == views.end() ? none : (at + (forward ? 1 : count - 1)) % count;
  focus(*views[next]);
}

void KLPopupInput::focus(KLView& view) {
  if (view.popupActions.empty() || view.focused) return;
  for (KLView* other : tappableViews(content_)) {
    if (other->focused) setFocused(*other, false);
  }
  setFocused(view, true);
}

void KLPopupInput::activate() {
  const auto views = tappableViews(content_);
  const auto focused = std::find_if(views.begin(), views.end(), isFocused);
  if (focused != views.end()) click_(**focused);
}

void KLPopupInput::scrollText(double points, double pages) {
  if (KLView* text = firstText(content_)) scrollBy(*text, points + pages * text->frame.height);
}

}  // namespace kaleo
