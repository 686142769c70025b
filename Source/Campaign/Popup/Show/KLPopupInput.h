#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "kaleo/KLPresentation.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// Turns pointer, wheel and keys into clicks, scrolling and focus. A click is a pointer that goes down and up on the same view; off
/// it, the view is let go. Main thread.
class KLPopupInput {
 public:
  using Click = std::function<void(KLView&)>;

  /// How far an arrow key scrolls, in points.
  static constexpr double kLineStep = 40;

  /// `content` is a subview of `mask`. `click` is called last, and may end this object's owner. Lifetime: borrows both.
  KLPopupInput(KLView& mask, KLView& content, Click click) : mask_(mask), content_(content), click_(std::move(click)) {}

  /// Points are in the mask's coordinates.
  void pointer(KLPointerPhase phase, KLPoint point);
  void scroll(KLPoint point, double deltaY);
  /// Tab and BackTab walk the views with actions, Activate clicks the focused one, Escape clicks the mask; arrows and pages scroll
  /// the first text that scrolls.
  void key(KLKey key);
  /// Moves the focus to `view`, if it has actions.
  void focus(KLView& view);
  /// Lets go of what is held.
  void cancel();

 private:
  KLView* target(KLPoint point);
  void press(KLPoint point);
  void drag(KLPoint point);
  void release(KLPoint point);
  void moveFocus(bool forward);
  void activate();
  void scrollText(double points, double pages);

  KLView& mask_;
  KLView& content_;
  Click click_;
  std::weak_ptr<KLView*> held_;  ///< the view that the pointer went down on
  double lastY_ = 0;             ///< of the pointer, while it drags a text
};

/// Makes every view of the tree that has actions take taps.
void KLAddActionsForView(KLView& view);

}  // namespace kaleo
