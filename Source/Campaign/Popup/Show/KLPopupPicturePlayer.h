#pragma once

#include <map>
#include <memory>

#include "kaleo/KLView.h"

namespace kaleo {

/// Plays the animated pictures of a view tree, endlessly, each from its first frame on. Main thread.
class KLPopupPicturePlayer {
 public:
  /// Whether the tree shows any picture that moves.
  static bool hasMovingPictures(const KLView& root);
  /// Sets the frames that stand at `time` (seconds on the frame clock). Answers whether any changed.
  bool advance(KLView& root, double time);

 private:
  struct Playing {
    std::shared_ptr<const KLImage> image;
    double begin = 0;
  };
  using Pictures = std::map<const KLView*, Playing>;

  bool advance(KLView& view, double time, Pictures& found);

  Pictures playing_;
};

/// The frame of `image` that stands `elapsed` seconds after its start.
std::size_t KLFrameAt(const KLImage& image, double elapsed);

}  // namespace kaleo
