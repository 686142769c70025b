#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLAttributedText.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLGeometry.h"
#include "kaleo/KLImage.h"
#include "kaleo/KaleoActionModel.h"

namespace kaleo {

class KLPopupActionModel;
class KLPopupElementModel;

/// What a view is to those who do not see it, beyond its kind and its text. A back end puts it into words.
struct KLAccessibility {
  std::string label;                        ///< names a view that shows no text, UTF-8; the root's is the popup's name
  std::optional<KLPopupActionType> action;  ///< the first thing that a tap does; none where a tap does nothing
  bool isLink = false;                      ///< a Button that reads as a link
};

/// One node of a retained view tree: what a popup looks like, without a toolkit. The library builds and changes the tree; a back
/// end draws it and never changes it.
///
/// How a view is drawn, from back to front, all inside `frame`, which is relative to the parent's bounds:
///  1. `backgroundColor`; 2. `backgroundImage` stretched over the bounds; 3. `image` stretched over the bounds (its
///  `currentFrame`); 4. `text` (see below); 5. subviews, in order; 6. the border, inside the bounds.
/// With `clipsToBounds` all of it, subviews at any depth included, is clipped to the bounds rounded by `cornerRadius`; without it
/// the radius still rounds background and border.
/// Text: a Label and a TextView lay their text out from the top left, at the view's width; a Label centres it vertically and cuts
/// it at its bounds, but for letters' overhang; a TextView shows it from `contentOffsetY` on; a Button centres it on one line.
/// `alpha` and `transform` apply to the view with all its subviews as one picture; the transform is about the frame's centre.
///
/// Threads: main thread only. Ownership: a view owns its subviews.
class KALEO_API KLView {
 public:
  enum class Kind {
    Plain,      ///< a container
    Label,      ///< text without limit of lines
    TextView,   ///< text that scrolls, with an indicator
    ImageView,  ///< a picture
    Button,     ///< takes presses
    Mask,       ///< covers the window, under the popup
  };
  struct Transform {
    double scale = 1;
    double translateX = 0, translateY = 0;  ///< in points
    friend bool operator==(const Transform&, const Transform&) = default;
  };

  explicit KLView(Kind kind) : kind_(kind) {}
  ~KLView();
  KLView(const KLView&) = delete;
  KLView& operator=(const KLView&) = delete;

  Kind kind() const { return kind_; }
  KLView* superview() const { return superview_; }
  const std::vector<std::unique_ptr<KLView>>& subviews() const { return subviews_; }
  KLView& addSubview(std::unique_ptr<KLView> view) { return insertSubview(std::move(view), subviews_.size()); }
  /// Puts `view` (not null) at `index` among the subviews; behind the last one when there are fewer.
  KLView& insertSubview(std::unique_ptr<KLView> view, std::size_t index);
  /// Takes this view out of its superview and hands it over; null when it has none.
  std::unique_ptr<KLView> removeFromSuperview();

  KLRect frame;
  std::optional<KLColor> backgroundColor;
  double cornerRadius = 0;
  bool clipsToBounds = false;
  double borderWidth = 0;
  std::optional<KLColor> borderColor;

  std::optional<KLAttributedText> text;
  std::shared_ptr<const KLImage> image;
  std::shared_ptr<const KLImage> backgroundImage;
  /// Frame of an animated `image` that is shown now.
  std::size_t currentFrame = 0;

  double alpha = 1;
  Transform transform;

  double contentHeight = 0;   ///< TextView: height of the whole text, in points
  double contentOffsetY = 0;  ///< TextView: how far it is scrolled, in points
  bool highlighted = false;   ///< Button: held down now
  bool focused = false;       ///< has the keyboard's focus

  /// The element shown, and what a tap on it does; null and empty where a view takes no taps.
  std::shared_ptr<const KLPopupElementModel> elementModel;
  std::vector<std::shared_ptr<const KLPopupActionModel>> popupActions;
  bool userInteractionEnabled = false;  ///< takes taps
  KLAccessibility accessibility;

  /// Says that this view looks different now. Reaches the root's `onDisplayNeeded`.
  void setNeedsDisplay();
  /// Set on the root by who shows the tree.
  std::function<void()> onDisplayNeeded;

  /// The deepest view at `point` (in this view's own coordinates) that takes taps or scrolls; null when there is none. Later
  /// subviews lie on top of earlier ones, and what a parent clips away cannot be hit. Transforms are left out.
  KLView* hitTest(KLPoint point);
  /// The frame in the root's coordinates, transforms left out.
  KLRect frameInRoot() const;

  /// A pointer that becomes null when the view goes: for work that ends later than the view may live.
  std::weak_ptr<KLView*> weakReference();

 private:
  Kind kind_;
  KLView* superview_ = nullptr;
  std::vector<std::unique_ptr<KLView>> subviews_;
  std::shared_ptr<KLView*> self_;
};

}  // namespace kaleo
