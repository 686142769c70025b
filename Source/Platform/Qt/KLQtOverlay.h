#pragma once

#include <QAccessible>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "KLQtScene.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// The surface of one popup: a child of the application's window that covers it whole, above everything in it.
///
/// A child, and not a top-level window of its own, on every platform: it follows its window's moves, resizes, minimising and
/// closing without any help and in the same frame, blends truly where the display has no compositor, has no entry in task bars and
/// window switchers, and is subject to no window manager's idea of stacking and focus. What a top-level would bring, to lie above
/// native child windows too, it gets by becoming native itself where its window has such children.
///
/// While shown it takes all of the window's input: pointer, wheel, touch, drags, keys and shortcuts end here, and the focus comes
/// back here when something below asks for it. Other windows of the application stay usable.
/// Ownership: by its parent, the application's window. Main thread.
class KLQtOverlay final : public QWidget {
 public:
  KLQtOverlay(QWidget& window, std::shared_ptr<KLQtPainter> painter);
  ~KLQtOverlay() override;

  /// Shows `root`. `lost` runs when the window is hidden or closed; when it is destroyed, so is the overlay.
  /// The observer may dismiss the overlay inside any call.
  void present(KLView& root, KLPopupWindowObserver& observer, std::function<void()> lost);
  /// Hides, gives the focus back and goes, by the event loop's next turn. Nothing is observed any more.
  void dismiss();

  void requestFrame();
  void setNeedsDisplay();
  void setNeedsPlacement() { update(); }

  /// The tree shown; null once dismissed.
  KLView* root() const { return root_; }
  /// What assistive technology asks for: a tap on `view` of the tree, the focus on it, its text scrolled by `pages`.
  void pressFor(KLView& view);
  void focusFor(KLView& view);
  void scrollFor(KLView& view, double pages);

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void takeFocus();
  void giveFocusBack();
  void focusMoved(QWidget* now);
  void layOut();
  void touch(const QTouchEvent& event);
  void pointer(KLPointerPhase phase, QPointF position);
  void showCursorFor(QPointF position);

  QWidget& window_;
  KLQtScene scene_;
  KLView* root_ = nullptr;
  KLPopupWindowObserver* observer_ = nullptr;  ///< null once dismissed
  std::function<void()> lost_;
  QPointer<QWidget> previousFocus_;
  QTimer frameTimer_;
  QSize laidOutSize_;
  bool pressed_ = false;
  QAccessible::Id accessible_ = 0;  ///< of its interface in Qt's registry
};

}  // namespace kaleo
