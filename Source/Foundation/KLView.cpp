#include "kaleo/KLView.h"

#include <algorithm>

namespace kaleo {

KLView::~KLView() = default;

KLView& KLView::insertSubview(std::unique_ptr<KLView> view, std::size_t index) {
  view->superview_ = this;
  const auto place = subviews_.begin() + static_cast<std::ptrdiff_t>(std::min(index, subviews_.size()));
  return **subviews_.insert(place, std::move(view));
}

std::unique_ptr<KLView> KLView::removeFromSuperview() {
  if (!superview_) return nullptr;
  auto& siblings = superview_->subviews_;
  const auto place = std::find_if(siblings.begin(), siblings.end(), [this](const auto& view) { return view.get() == this; });
  auto self = std::move(*place);
  siblings.erase(place);
  superview_ = nullptr;
  return self;
}

void KLView::setNeedsDisplay() {
  const KLView* root = this;
  while (root->superview_) root = root->superview_;
  if (root->onDisplayNeeded) root->onDisplayNeeded();
}

KLView* KLView::hitTest(KLPoint point) {
  const bool inside = KLRect{0, 0, frame.width, frame.height}.contains(point);
  if (clipsToBounds && !inside) return nullptr;
  for (auto view = subviews_.rbegin(); view != subviews_.rend(); ++view) {
    const KLRect& place = (*view)->frame;
    if (KLView* hit = (*view)->hitTest({point.x - place.x, point.y - place.y})) return hit;
  }
  return inside && (userInteractionEnabled || kind_ == Kind::TextView) ? this : nullptr;
}

KLRect KLView::frameInRoot() const {
  KLRect rect = frame;
  for (const KLView* view = superview_; view && view->superview_; view = view->superview_) {
    rect.x += view->frame.x;
    rect.y += view->frame.y;
  }
  return rect;
}

std::weak_ptr<KLView*> KLView::weakReference() {
  if (!self_) self_ = std::make_shared<KLView*>(this);
  return self_;
}

}  // namespace kaleo
