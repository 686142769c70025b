#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <memory>

#include "KLQtImages.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// A popup's window: a widget that covers the whole of the application's active window and lies above everything in it.
///
/// It is a child of that window rather than a window of the system's own, on purpose: it moves, is minimised and is closed with it,
/// never shows in the task bar or a window list, blends with what lies below on every platform, with or without a compositor, and
/// cannot be left behind. While shown it takes all pointer, key and shortcut input of that window and gives the focus back
/// afterwards. An application without a widget on screen gets a plain frameless window of the screen port's size. Threads: main
/// thread only.
class KLQtOverlay final : public QWidget {
 public:
  KLQtOverlay(QWidget* host, KLView& root, KLPopupWindowObserver& observer);
  /// Deleted with its host while open: the observer loses its window.
  ~KLQtOverlay() override;

  /// Covers the host and tells the observer its size.
  void open();
  /// Leaves the screen, gives the focus back and deletes itself later; observer and root are not touched any more.
  void close();
  void requestFrame();

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  bool focusNextPrevChild(bool) override { return false; }

 private:
  void frame();
  void layOut();
  void hostClosed();
  void lose();
  void keepFocus(QWidget* now);

  QPointer<QWidget> host_;
  QPointer<QWidget> focusBefore_;
  KLView& root_;
  KLPopupWindowObserver* observer_;  ///< null once closed or lost
  KLQtImages images_;
  QTimer frameTimer_;
  QElapsedTimer clock_;
  double lastFrame_ = 0;  ///< seconds on clock_
};

class KLQtPopupWindow final : public KLPopupWindow {
 public:
  ~KLQtPopupWindow() override { hide(); }
  void show(KLView& root, KLPopupWindowObserver& observer) override;
  void hide() override;
  void requestFrame() override;
  void setNeedsDisplay() override;

 private:
  QPointer<KLQtOverlay> overlay_;  ///< goes with its host, too
};

class KLQtPopupWindowFactory final : public KLPopupWindowFactory {
 public:
  std::unique_ptr<KLPopupWindow> makeWindow() override { return std::make_unique<KLQtPopupWindow>(); }
};

/// The application's active top-level widget: the one with the focus, else the one that was activated last, else any that shows.
QWidget* KLQtActiveWindow();

}  // namespace kaleo
