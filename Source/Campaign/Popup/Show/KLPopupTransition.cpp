#include "Campaign/Popup/Show/KLPopupTransition.h"

#include <algorithm>

namespace kaleo {
namespace {

constexpr double kHiddenScale = 0.01;

double between(double hidden, double shown, double share) { return hidden + (shown - hidden) * share; }

}  // namespace

double KLEaseInOut(double time) { return time * time * (3 - 2 * time); }

void KLApplyPopupState(int animationType, double shown, KLColor maskColor, KLView& mask, KLView& content) {
  maskColor.alpha *= shown;
  mask.backgroundColor = maskColor;
  content.alpha = 1;
  content.transform = {};
  switch (animationType) {
    case KLPopupAnimationType::Scale:
      content.transform.scale = between(kHiddenScale, 1, shown);
      break;
    case KLPopupAnimationType::Fade:
      content.alpha = shown;
      break;
    case KLPopupAnimationType::FromBottom:
      content.transform.translateY = between(mask.frame.height - content.frame.y, 0, shown);
      break;
    case KLPopupAnimationType::FromTop:
      content.transform.translateY = between(-content.frame.maxY(), 0, shown);
      break;
    default:
      content.alpha = shown;
      content.transform.scale = between(kHiddenScale, 1, shown);
  }
}

void KLPopupTransition::start(double target, double duration, Completion completion) {
  movements_.push_back({shown_, target, duration, std::nullopt, std::move(completion)});
}

double KLPopupTransition::progress(const Movement& movement, double time) {
  return movement.duration > 0 ? std::clamp((time - *movement.begin) / movement.duration, 0.0, 1.0) : 1;
}

std::vector<KLPopupTransition::Completion> KLPopupTransition::advance(double time) {
  std::vector<Completion> ended;
  for (Movement& movement : movements_) {
    if (!movement.begin) movement.begin = time;
    const double done = progress(movement, time);
    shown_ = between(movement.from, movement.target, KLEaseInOut(done));
    if (done >= 1) ended.push_back(std::move(movement.completion));
  }
  std::erase_if(movements_, [time](const Movement& movement) { return progress(movement, time) >= 1; });
  return ended;
}

std::vector<KLPopupTransition::Completion> KLPopupTransition::finish() {
  std::vector<Completion> ended;
  for (Movement& movement : movements_) {
    shown_ = movement.target;
    ended.push_back(std::move(movement.completion));
  }
  movements_.clear();
  return ended;
}

}  // namespace kaleo
