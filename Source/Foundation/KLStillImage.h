#pragma once

#include <memory>
#include <utility>

#include "kaleo/KLImage.h"

namespace kaleo {

/// A picture of one frame that does not move.
class KLStillImage final : public KLImage {
 public:
  explicit KLStillImage(KLPixels pixels) : pixels_(std::make_shared<const KLPixels>(std::move(pixels))) {}

  int pixelWidth() const override { return pixels_->width; }
  int pixelHeight() const override { return pixels_->height; }
  std::size_t frameCount() const override { return 1; }
  std::shared_ptr<const KLPixels> frame(std::size_t index) const override { return index == 0 ? pixels_ : nullptr; }
  double delay(std::size_t) const override { return 0; }
  double duration() const override { return 0; }

 private:
  std::shared_ptr<const KLPixels> pixels_;
};

}  // namespace kaleo
