#include "Campaign/Popup/Show/KLPopupViewController.h"

#include "Campaign/Popup/Show/KLPopupActionInvoker.h"

namespace kaleo {
namespace {

constexpr const char* kMaskTypeName = "mask";
constexpr double kHidden = 0;
constexpr double kShown = 1;

// Whether the mask takes taps at all: a close that may not close makes it a mere backdrop.
bool takesTaps(const KLPopupActionModel::List& actions) {
  if (actions.empty()) return false;
  const KLPopupActionModel& first = *actions.front();
  return first.type != KLPopupActionType::Close || first.closeable;
}

}  // namespace

KLPopupViewController::KLPopupViewController(std::shared_ptr<KLCampaign> campaign, std::unique_ptr<KLView> contentView,
                                             const KLPresentation& presentation)
    : campaign_(std::move(campaign)),
      pasteboard_(presentation.pasteboard),
      content_(mask_.addSubview(std::move(contentView))),
      input_(mask_, content_, [this](KLView& view) { elementClickAction(view); }),
      window_(presentation.windows->makeWindow()) {
  mask_.onDisplayNeeded = [this] { displayNeeded(); };
  KLAddActionsForView(content_);
  if (campaign_) mask_.accessibility.label = campaign_->name.value_or("");
}

KLPopupViewController::~KLPopupViewController() = default;

void KLPopupViewController::show() {
  if (!window_ || keepAlive_) return;
  const auto self = shared_from_this();
  keepAlive_ = self;
  setUpMask();
  applyState();
  window_->show(mask_, *this);
  tell(&KLPopupViewControllerDelegate::willShowPopupViewController);
  move(kShown, [this] { tell(&KLPopupViewControllerDelegate::didShowPopupViewController); });
  if (lost_) dismiss();
}

void KLPopupViewController::dismiss() {
  const auto self = shared_from_this();
  input_.cancel();
  tell(&KLPopupViewControllerDelegate::willDismissViewController);
  move(kHidden, [this] {
    dismissPopupWindow();
    tell(&KLPopupViewControllerDelegate::didDismissViewController);
  });
}

void KLPopupViewController::takeDown() {
  const auto self = shared_from_this();
  transition_.cancel();
  dismissPopupWindow();
}

void KLPopupViewController::elementClickAction(KLView& view) {
  const auto self = shared_from_this();
  const KLPopupActionModel::List actions = view.popupActions;
  for (const auto& action : actions) invokeAction(*action, *this);
  if (actions.empty() || actions.front()->isInert()) return;
  if (const auto told = delegate.lock()) told->didClickForElement(*this, view);
}

void KLPopupViewController::setUpMask() {
  if (!takesTaps(maskActions)) return;
  const auto element = std::make_shared<KLPopupElementModel>();
  element->typeName = kMaskTypeName;
  element->actions = maskActions;
  mask_.elementModel = element;
  mask_.popupActions = maskActions;
  mask_.userInteractionEnabled = true;
}

void KLPopupViewController::placeContent() {
  KLRect& frame = content_.frame;
  frame.x = (mask_.frame.width - frame.width) / 2;
  frame.y = (mask_.frame.height - frame.height) / 2 - (topOffset_ + kUpwardShift);
}

void KLPopupViewController::applyState() { KLApplyPopupState(animationType, transition_.shown(), maskColor, mask_, content_); }

void KLPopupViewController::move(double target, KLPopupTransition::Completion completion) {
  transition_.start(target, animationDuration, std::move(completion));
  if (lost_ || !keepAlive_) {
    finishMovements();  // there is no window whose frames could carry it
  } else {
    requestFrame();
  }
}

void KLPopupViewController::finishMovements() {
  const auto completions = transition_.finish();
  applyState();
  for (const auto& completion : completions) completion();
}

void KLPopupViewController::requestFrame() {
  if (framePending_ || !keepAlive_) return;
  framePending_ = true;
  window_->requestFrame();
}

void KLPopupViewController::displayNeeded() {
  if (!keepAlive_) return;
  window_->setNeedsDisplay();
  if (KLPopupPicturePlayer::hasMovingPictures(mask_)) requestFrame();
}

void KLPopupViewController::dismissPopupWindow() {
  if (!window_) return;
  window_->hide();
  window_.reset();
  keepAlive_.reset();
}

void KLPopupViewController::tell(Tell what) {
  if (const auto told = delegate.lock()) ((*told).*what)(*this);
}

void KLPopupViewController::windowDidLayout(KLSize bounds, double safeAreaTop) {
  mask_.frame = {0, 0, bounds.width, bounds.height};
  if (safeAreaTop != safeAreaTop_) topOffset_ = safeAreaTop - kUpwardShift;
  safeAreaTop_ = safeAreaTop;
  placeContent();
  applyState();
  displayNeeded();
}

void KLPopupViewController::windowPointer(KLPointerPhase phase, KLPoint point) {
  const auto self = shared_from_this();
  if (!transition_.isRunning()) input_.pointer(phase, point);
}

void KLPopupViewController::windowScroll(KLPoint point, double deltaY) {
  if (!transition_.isRunning()) input_.scroll(point, deltaY);
}

void KLPopupViewController::windowKey(KLKey key) {
  const auto self = shared_from_this();
  if (!transition_.isRunning()) input_.key(key);
}

void KLPopupViewController::windowPress(KLView& view) {
  if (!transition_.isRunning()) elementClickAction(view);
}

void KLPopupViewController::windowFocus(KLView& view) { input_.focus(view); }

void KLPopupViewController::windowFrame(double time) {
  const auto self = shared_from_this();
  framePending_ = false;
  const bool moving = transition_.isRunning();
  const auto completions = transition_.advance(time);
  if (moving) applyState();
  const bool pictures = player_.advance(mask_, time);
  if (pictures) {
    window_->setNeedsDisplay();
  } else if (moving) {
    window_->setNeedsPlacement();
  }
  for (const auto& completion : completions) completion();
  if (!window_) return finishMovements();  // a second dismissal ends with the window, too
  if (transition_.isRunning() || KLPopupPicturePlayer::hasMovingPictures(mask_)) requestFrame();
}

void KLPopupViewController::windowLost() {
  const auto self = shared_from_this();
  const bool shown = transition_.isRunning() || transition_.shown() > 0;
  lost_ = true;
  if (!shown) return;  // inside `show`, which goes on by itself
  finishMovements();
  if (window_) dismiss();
}

}  // namespace kaleo
