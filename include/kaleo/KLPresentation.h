#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kaleo/KLAttributedText.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLGeometry.h"

namespace kaleo {

class KLView;

/// The area that popups are laid out for: that of the application's active window, in points. Port.
/// Threads: any; the values may change between calls.
class KALEO_API KLScreen {
 public:
  virtual ~KLScreen() = default;
  virtual KLSize size() const = 0;
  /// Pixels a point.
  virtual double scale() const = 0;
};

/// The system's pasteboard. Port. Main thread.
class KALEO_API KLPasteboard {
 public:
  virtual ~KLPasteboard() = default;
  virtual void setString(const std::string& text) = 0;
};

enum class KLPointerPhase { Down, Move, Up, Cancel };
enum class KLKey { Tab, BackTab, Activate, Escape, Up, Down, PageUp, PageDown };

/// What a popup window tells the library. Implemented by the library; called by the back end on the main thread.
/// An observer may close the window inside any of these calls.
class KALEO_API KLPopupWindowObserver {
 public:
  virtual ~KLPopupWindowObserver() = default;
  /// The window's area is now `bounds` points large, of which the top `safeAreaTop` points are covered by the system. Called once
  /// before the first frame and at every change.
  virtual void windowDidLayout(KLSize bounds, double safeAreaTop) = 0;
  /// The primary pointer, in points from the window's top left. Moves come only between Down and Up.
  virtual void windowPointer(KLPointerPhase phase, KLPoint point) = 0;
  /// A wheel or two-finger scroll of `deltaY` points at `point`; positive shows what lies further down.
  virtual void windowScroll(KLPoint point, double deltaY) = 0;
  virtual void windowKey(KLKey key) = 0;
  /// Assistive technology taps `view`, a view of the tree that takes taps.
  virtual void windowPress(KLView& view) = 0;
  /// Assistive technology gives the keyboard's focus to `view`, a view of the tree with an action.
  virtual void windowFocus(KLView& view) = 0;
  /// A frame that was asked for with `requestFrame`; `time` is in seconds on the back end's monotonic frame clock.
  virtual void windowFrame(double time) = 0;
  /// The application's window that this one covered is gone; nothing can be shown any more.
  virtual void windowLost() = 0;
};

/// A window of its own that covers the application's active window, above it, and takes its input. Port. Main thread only.
/// Lifetime: the observer and the root view outlive the window.
class KALEO_API KLPopupWindow {
 public:
  virtual ~KLPopupWindow() = default;  ///< hides it, too; no observer call comes afterwards
  KLPopupWindow(const KLPopupWindow&) = delete;
  KLPopupWindow& operator=(const KLPopupWindow&) = delete;

  /// Shows `root` (its frame is the window's bounds) and tells `observer` what happens. `windowDidLayout` comes inside this call.
  virtual void show(KLView& root, KLPopupWindowObserver& observer) = 0;
  /// Takes the window off the screen.
  virtual void hide() = 0;
  /// Asks for one `windowFrame` at the next frame of the screen.
  virtual void requestFrame() = 0;
  /// The tree changed; draw it again soon.
  virtual void setNeedsDisplay() = 0;
  /// Of the tree only the root's background colour and its subviews' alpha and transform changed, as in every frame of a movement;
  /// draw it again soon. What was drawn of the subviews may be kept.
  virtual void setNeedsPlacement() { setNeedsDisplay(); }

 protected:
  KLPopupWindow() = default;
};

/// Makes popup windows. Port. Main thread only.
class KALEO_API KLPopupWindowFactory {
 public:
  virtual ~KLPopupWindowFactory() = default;
  /// A new window, hidden. Never null.
  virtual std::unique_ptr<KLPopupWindow> makeWindow() = 0;
};

/// Everything that a back end brings.
struct KLPresentation {
  std::shared_ptr<KLScreen> screen;
  std::shared_ptr<KLTextMeasurer> textMeasurer;
  std::shared_ptr<KLPasteboard> pasteboard;
  std::shared_ptr<KLPopupWindowFactory> windows;
};

}  // namespace kaleo
