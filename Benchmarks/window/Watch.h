#pragma once

#include <QApplication>
#include <QWidget>
#include <functional>
#include <string>
#include <vector>

namespace kaleo::bench {

/// Seconds on the machine's monotonic clock, and of processor time that this thread has used.
double now();
double processorTime();

/// What the main thread did for one frame of a window: everything since the frame before it, drawing and handing over included.
struct Frame {
  double processor = 0;  ///< seconds of processor time
  double wall = 0;       ///< the same on the clock
  double end = 0;        ///< when it was done, as `now`
};

/// An application that watches one window's frames and its own events.
class WatchedApplication final : public QApplication {
 public:
  using QApplication::QApplication;

  /// Counts the frames of `window` from now on.
  void watch(const QWidget& window);
  const std::vector<Frame>& frames() const { return frames_; }
  void forget() { frames_.clear(); }
  /// When the popup's overlay has painted itself for the first time since `forgetPopup`, and that frame was done; 0 before.
  double popupPainted() const { return popupPainted_; }
  void forgetPopup() { popupPainted_ = 0; }

  bool notify(QObject* receiver, QEvent* event) override;

 private:
  void frameDone();

  const QWidget* window_ = nullptr;
  Frame current_;
  std::vector<Frame> frames_;
  int depth_ = 0;
  bool popupPaints_ = false;
  double popupPainted_ = 0;
};

WatchedApplication& application();

/// Runs the event loop until `condition` holds; false when it does not within a minute.
bool runUntil(const std::function<bool()>& condition);
void runFor(double seconds);

/// An application's window of 1080 x 1920 pixels at any device scale, shown and active.
class HostWindow : public QWidget {
 public:
  HostWindow();
  /// The popup over it; null when there is none.
  QWidget* popup() const;
  /// Plays the Escape key to the popup.
  void pressEscape() const;
};

/// The value that the share `part` (0 to 1) of `values` does not exceed; 0 without any.
double quantile(std::vector<double> values, double part);

}  // namespace kaleo::bench
