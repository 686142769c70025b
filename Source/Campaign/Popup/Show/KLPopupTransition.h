#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "kaleo/KLGeometry.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// How a popup comes and goes. Any other value is as FadeAndScale.
namespace KLPopupAnimationType {
inline constexpr int FadeAndScale = 1;
inline constexpr int Scale = 2;
inline constexpr int Fade = 3;
inline constexpr int FromBottom = 4;
inline constexpr int FromTop = 5;
}  // namespace KLPopupAnimationType

/// The share of a movement that is done after the share `time` (0 to 1) of its duration: slow, quick, slow.
double KLEaseInOut(double time);

/// Puts mask and content in the state between hidden (`shown` 0) and shown (1), for the frames that they have now.
void KLApplyPopupState(int animationType, double shown, KLColor maskColor, KLView& mask, KLView& content);

/// Movements between hidden and shown, each of which says when it ends. One that begins while another is under way takes the popup
/// over from where it is; the earlier one still ends in its time. Time comes in with the frames; a movement begins with the first
/// frame after its start. Main thread.
class KLPopupTransition {
 public:
  using Completion = std::function<void()>;

  /// Moves towards `target` (0 hidden, 1 shown) within `duration` seconds.
  void start(double target, double duration, Completion completion);
  /// Moves on to `time`, in seconds, and answers the completions of what ended, in order of the starts.
  std::vector<Completion> advance(double time);
  /// Ends everything now.
  std::vector<Completion> finish();
  void cancel() { movements_.clear(); }

  bool isRunning() const { return !movements_.empty(); }
  /// Where the popup is: 0 hidden, 1 shown.
  double shown() const { return shown_; }

 private:
  struct Movement {
    double from, target, duration;
    std::optional<double> begin;  ///< none before its first frame
    Completion completion;
  };
  static double progress(const Movement& movement, double time);

  std::vector<Movement> movements_;
  double shown_ = 0;
};

}  // namespace kaleo
