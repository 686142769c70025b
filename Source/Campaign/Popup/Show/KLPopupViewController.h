#pragma once

#include <memory>
#include <optional>

#include "Campaign/Popup/Model/KLPopupElementModel.h"
#include "Campaign/Popup/Show/KLPopupInput.h"
#include "Campaign/Popup/Show/KLPopupPicturePlayer.h"
#include "Campaign/Popup/Show/KLPopupTransition.h"
#include "Core/Base/Campaign/KLCampaignPlanEvent.h"
#include "kaleo/KLCampaign.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

class KLPopupViewController;

/// Told of a popup's life, inside the controller's own calls. Main thread.
class KLPopupViewControllerDelegate {
 public:
  virtual ~KLPopupViewControllerDelegate() = default;
  virtual void willShowPopupViewController(KLPopupViewController& controller) = 0;
  virtual void didShowPopupViewController(KLPopupViewController& controller) = 0;
  virtual void willDismissViewController(KLPopupViewController& controller) = 0;
  virtual void didDismissViewController(KLPopupViewController& controller) = 0;
  /// A tap on `view` (an element's, or the mask) whose first action is of use. The actions have run.
  virtual void didClickForElement(KLPopupViewController& controller, KLView& view) = 0;
};

/// Puts one popup on screen in a window of its own, dims the rest with a mask, moves it in and out, and turns taps into actions.
///
/// Main thread only. While it is shown its window keeps it alive; it ends by itself when it has been dismissed. When the window is
/// lost, the delegate is told what a whole popup tells, at once.
class KLPopupViewController final : public std::enable_shared_from_this<KLPopupViewController>, private KLPopupWindowObserver {
 public:
  static constexpr double kAnimationDuration = 0.35;         ///< in seconds
  static constexpr KLColor kDefaultMaskColor{1, 1, 1, 0.6};  ///< where the document names none
  /// How far above the centre the content stands without a safe area, in points.
  static constexpr double kUpwardShift = 20;

  /// Makes the window, hidden. `contentView` is not null.
  KLPopupViewController(std::shared_ptr<KLCampaign> campaign, std::unique_ptr<KLView> contentView,
                        const KLPresentation& presentation);
  ~KLPopupViewController() override;

  const std::shared_ptr<KLCampaign>& campaign() const { return campaign_; }
  KLView& contentView() const { return content_; }
  KLPasteboard& pasteboard() const { return *pasteboard_; }

  int animationType = KLPopupAnimationType::FadeAndScale;
  double animationDuration = kAnimationDuration;
  KLColor maskColor = kDefaultMaskColor;
  KLPopupActionModel::List maskActions;  ///< set before `show`
  std::shared_ptr<KLCampaignPlanEvent> planEvent;
  std::weak_ptr<KLPopupViewControllerDelegate> delegate;

  /// Shows the popup, once.
  void show();
  /// Moves the popup out and ends it. Called twice it runs twice, and tells of two dismissals.
  void dismiss();
  /// Takes the window off the screen at once and tells nobody: for the end of the library.
  void takeDown();
  /// Runs the actions of `view`, then reports the tap unless its first action is of no use.
  void elementClickAction(KLView& view);

  bool isOnScreen() const { return keepAlive_ != nullptr; }
  /// Whether the window system took the window away.
  bool isWindowLost() const { return lost_; }

 private:
  using Tell = void (KLPopupViewControllerDelegate::*)(KLPopupViewController&);

  void windowDidLayout(KLSize bounds, double safeAreaTop) override;
  void windowPointer(KLPointerPhase phase, KLPoint point) override;
  void windowScroll(KLPoint point, double deltaY) override;
  void windowKey(KLKey key) override;
  void windowPress(KLView& view) override;
  void windowFocus(KLView& view) override;
  void windowFrame(double time) override;
  void windowLost() override;

  void setUpMask();
  void placeContent();
  void applyState();
  void move(double target, KLPopupTransition::Completion completion);
  void finishMovements();
  void requestFrame();
  void displayNeeded();
  void dismissPopupWindow();
  void tell(Tell what);

  const std::shared_ptr<KLCampaign> campaign_;
  const std::shared_ptr<KLPasteboard> pasteboard_;
  KLView mask_{KLView::Kind::Mask};
  KLView& content_;
  KLPopupInput input_;
  KLPopupTransition transition_;
  KLPopupPicturePlayer player_;
  double safeAreaTop_ = 0;  ///< as last told by the window
  double topOffset_ = 0;    ///< correction for the safe area, in points
  bool framePending_ = false;
  bool lost_ = false;  ///< nothing moves any more
  /// Set while the window is on screen.
  std::shared_ptr<KLPopupViewController> keepAlive_;
  std::unique_ptr<KLPopupWindow> window_;  ///< goes before what it shows; null once dismissed
};

}  // namespace kaleo
