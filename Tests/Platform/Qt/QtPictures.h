#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "kaleo/KLImage.h"

namespace kaleo {

/// A picture of ready frames.
class Picture final : public KLImage {
 public:
  explicit Picture(std::vector<std::shared_ptr<const KLPixels>> frames) : frames_(std::move(frames)) {}
  int pixelWidth() const override { return frames_.empty() || !frames_[0] ? 0 : frames_[0]->width; }
  int pixelHeight() const override { return frames_.empty() || !frames_[0] ? 0 : frames_[0]->height; }
  std::size_t frameCount() const override { return frames_.size(); }
  std::shared_ptr<const KLPixels> frame(std::size_t index) const override { return frames_.at(index); }
  double delay(std::size_t) const override { return 0.1; }
  double duration() const override { return 0.1 * double(frames_.size()); }

 private:
  const std::vector<std::shared_ptr<const KLPixels>> frames_;
};

/// Pixels of one premultiplied colour.
inline std::shared_ptr<const KLPixels> pixelsOf(int width, int height, int red, int green, int blue, int alpha) {
  auto pixels = std::make_shared<KLPixels>();
  pixels->width = width;
  pixels->height = height;
  for (int i = 0; i < width * height; ++i) {
    for (const int value : {red, green, blue, alpha}) pixels->rgba.push_back(std::uint8_t(value));
  }
  return pixels;
}

inline std::shared_ptr<const KLImage> plainPicture(int width, int height, int red, int green, int blue, int alpha) {
  return std::make_shared<Picture>(std::vector{pixelsOf(width, height, red, green, blue, alpha)});
}

/// Black and white pixels in turn, black first.
inline std::shared_ptr<const KLImage> checkerboard(int width, int height) {
  auto pixels = std::make_shared<KLPixels>(*pixelsOf(width, height, 0, 0, 0, 255));
  for (int y = 0; y < height; ++y) {
    for (int x = y % 2 ? 0 : 1; x < width; x += 2) {
      for (int i = 0; i < 3; ++i) pixels->rgba[std::size_t((y * width + x) * 4 + i)] = 255;
    }
  }
  return std::make_shared<Picture>(std::vector<std::shared_ptr<const KLPixels>>{pixels});
}

}  // namespace kaleo
