#include "Foundation/KLGIFImage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <mutex>
#include <utility>

#include "Foundation/KLGIFFile.h"
#include "Foundation/KLGIFRows.h"
#include "Foundation/KLImageSize.h"

namespace kaleo {
namespace {

/// As many views may play one picture, each at its own place, without starting over at each frame.
constexpr std::size_t kMomentsHeld = 3;

using Canvas = std::shared_ptr<const KLPixels>;

/// A frame's colours by index, as they are stored in pixels. 0: the index leaves the canvas as it is.
using Colours = std::array<std::uint32_t, 256>;

/// A frame's area as far as it lies on the canvas.
struct Area {
  int left, top, right, bottom;
};

Area visibleArea(const KLGIFFrame& frame, const KLGIFFile& file) {
  return {std::min(frame.left, file.width), std::min(frame.top, file.height), std::min(frame.left + frame.width, file.width),
          std::min(frame.top + frame.height, file.height)};
}

std::uint8_t* pixelAt(KLPixels& pixels, int x, int y) {
  return pixels.rgba.data() +
         (static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) + static_cast<std::size_t>(x)) * kKLBytesPerPixel;
}

void clear(KLPixels& pixels, const Area& area) {
  for (int y = area.top; y < area.bottom; ++y) {
    std::fill(pixelAt(pixels, area.left, y), pixelAt(pixels, area.right, y), std::uint8_t{0});
  }
}

class GIFImage final : public KLImage {
 public:
  GIFImage(KLBytes data, KLGIFFile file) : data_(std::move(data)), file_(std::move(file)) {
    for (const auto& frame : file_.frames) duration_ += frame.delay;
  }

  /// Composes the first frame and keeps it. False when nothing of it can be read.
  bool composeFirst() {
    auto [canvas, rows] = draw(file_.frames.front(), blank());
    first_ = {0, blank(), std::move(canvas)};
    return rows > 0;
  }

  int pixelWidth() const override { return file_.width; }
  int pixelHeight() const override { return file_.height; }
  std::size_t frameCount() const override { return file_.frames.size(); }
  double delay(std::size_t index) const override { return index < file_.frames.size() ? file_.frames[index].delay : 0; }
  double duration() const override { return duration_; }

  std::shared_ptr<const KLPixels> frame(std::size_t index) const override {
    if (index >= file_.frames.size()) return nullptr;
    if (index == 0) return first_.canvas;
    const std::lock_guard lock(mutex_);
    Moment moment = takeNearest(index);
    while (moment.index < index) moment = after(moment);
    return recent_.insert(recent_.begin(), std::move(moment))->canvas;
  }

 private:
  struct Moment {
    std::size_t index = 0;
    Canvas before;  ///< what the frame was drawn upon
    Canvas canvas;  ///< with the frame
  };

  /// The latest moment held that is not after frame `index`, taken out of `recent_`, which has room for another when this returns.
  Moment takeNearest(std::size_t index) const {
    auto nearest = recent_.end();
    for (auto it = recent_.begin(); it != recent_.end(); ++it) {
      if (it->index <= index && (nearest == recent_.end() || it->index > nearest->index)) nearest = it;
    }
    if (nearest == recent_.end()) {
      if (recent_.size() == kMomentsHeld) recent_.pop_back();
      return first_;
    }
    Moment moment = std::move(*nearest);
    recent_.erase(nearest);
    return moment;
  }

  Canvas blank() const {
    KLPixels pixels{file_.width, file_.height, {}};
    pixels.rgba.resize(static_cast<std::size_t>(file_.width) * static_cast<std::size_t>(file_.height) * kKLBytesPerPixel);
    return std::make_shared<const KLPixels>(std::move(pixels));
  }

  Moment after(const Moment& moment) const {
    const auto index = moment.index + 1;
    const auto& frame = file_.frames[index];
    Canvas before = disposed(moment);
    Canvas canvas = draw(frame, before).first;
    return {index, std::move(before), std::move(canvas)};
  }

  Canvas disposed(const Moment& moment) const {
    const auto& frame = file_.frames[moment.index];
    switch (frame.disposal) {
      case KLGIFDisposal::RestorePrevious:
        return moment.before;
      case KLGIFDisposal::ClearToTransparent: {
        auto cleared = std::make_shared<KLPixels>(*moment.canvas);
        clear(*cleared, visibleArea(frame, file_));
        return cleared;
      }
      case KLGIFDisposal::Keep:
        break;
    }
    return moment.canvas;
  }

  /// The frame upon `before`, and how many of its rows could be read.
  std::pair<Canvas, int> draw(const KLGIFFrame& frame, const Canvas& before) const {
    auto canvas = std::make_shared<KLPixels>(*before);
    const Area area = visibleArea(frame, file_);
    const Colours colours = coloursOf(frame);
    const int rows = KLReadGIFRows(data_, file_, frame, [&](int y, std::span<const std::uint8_t> indices) {
      if (frame.top + y >= area.bottom) return;
      drawRow(colours, indices, pixelAt(*canvas, area.left, frame.top + y), area.right - area.left);
    });
    return {std::move(canvas), rows};
  }

  Colours coloursOf(const KLGIFFrame& frame) const {
    Colours colours{};
    for (int index = 0; index < std::min<int>(frame.paletteSize, colours.size()); ++index) {
      const auto* colour = data_.data() + frame.paletteOffset + std::size_t{3} * static_cast<unsigned>(index);
      if (index == frame.transparentIndex) continue;
      const std::array<std::uint8_t, 4> pixel{colour[0], colour[1], colour[2], 255};
      colours[static_cast<std::size_t>(index)] = std::bit_cast<std::uint32_t>(pixel);
    }
    return colours;
  }

  static void drawRow(const Colours& colours, std::span<const std::uint8_t> indices, std::uint8_t* target, int width) {
    for (int x = 0; x < width; ++x, target += kKLBytesPerPixel) {
      const std::uint32_t colour = colours[indices[static_cast<std::size_t>(x)]];
      if (colour != 0) std::memcpy(target, &colour, kKLBytesPerPixel);
    }
  }

  const KLBytes data_;
  const KLGIFFile file_;
  double duration_ = 0;
  Moment first_;
  mutable std::mutex mutex_;
  mutable std::vector<Moment> recent_;  ///< most recent first; guarded by mutex_
};

}  // namespace

KLImageDecoder::Outcome KLDecodeGIF(const KLBytes& data, const KLImageDecoder::Limits& limits) {
  auto file = KLScanGIF(data, limits.maxFrames + 1);
  if (!file) return {nullptr, "damaged GIF"};
  if (auto refusal = KLGIFRefusal(*file, limits); !refusal.empty()) return {nullptr, std::move(refusal)};
  auto image = std::make_shared<GIFImage>(data, std::move(*file));
  if (!image->composeFirst()) return {nullptr, "damaged GIF"};
  return {std::move(image), ""};
}

}  // namespace kaleo
