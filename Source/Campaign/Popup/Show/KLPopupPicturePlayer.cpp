#include "Campaign/Popup/Show/KLPopupPicturePlayer.h"

#include <algorithm>
#include <cmath>

namespace kaleo {
namespace {

bool moves(const KLImage* image) { return image && image->frameCount() > 1 && image->duration() > 0; }

}  // namespace

std::size_t KLFrameAt(const KLImage& image, double elapsed) {
  double rest = std::fmod(elapsed, image.duration());
  std::size_t frame = 0;
  for (; frame + 1 < image.frameCount() && rest >= image.delay(frame); ++frame) rest -= image.delay(frame);
  return frame;
}

bool KLPopupPicturePlayer::hasMovingPictures(const KLView& root) {
  return moves(root.image.get()) ||
         std::any_of(root.subviews().begin(), root.subviews().end(), [](const auto& view) { return hasMovingPictures(*view); });
}

bool KLPopupPicturePlayer::advance(KLView& root, double time) {
  Pictures found;
  const bool changed = advance(root, time, found);
  playing_ = std::move(found);
  return changed;
}

bool KLPopupPicturePlayer::advance(KLView& view, double time, Pictures& found) {
  bool changed = false;
  if (moves(view.image.get())) {
    const auto known = playing_.find(&view);
    const bool goesOn = known != playing_.end() && known->second.image == view.image;
    const Playing picture = goesOn ? known->second : Playing{view.image, time};
    const std::size_t frame = KLFrameAt(*view.image, time - picture.begin);
    changed = frame != view.currentFrame;
    view.currentFrame = frame;
    found[&view] = picture;
  }
  for (const auto& subview : view.subviews()) changed |= advance(*subview, time, found);
  return changed;
}

}  // namespace kaleo
