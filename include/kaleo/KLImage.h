#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kaleo/KLExport.h"
#include "kaleo/KLGeometry.h"

namespace kaleo {

/// Pixels of one picture: rows from top to bottom, 4 bytes a pixel in the order red, green, blue, alpha, colours premultiplied with
/// alpha, no padding between rows.
struct KLPixels {
  int width = 0;   ///< in pixels
  int height = 0;  ///< in pixels
  std::vector<std::uint8_t> rgba;
};

/// A decoded picture: one frame, or several with a delay each.
/// Threads: immutable; `frame` may be called from any thread.
class KALEO_API KLImage {
 public:
  virtual ~KLImage() = default;
  KLImage(const KLImage&) = delete;
  KLImage& operator=(const KLImage&) = delete;

  virtual int pixelWidth() const = 0;
  virtual int pixelHeight() const = 0;
  /// Pixels a point.
  virtual double scale() const { return 1; }
  virtual std::size_t frameCount() const = 0;
  /// The pixels of frame `index` (below `frameCount`). Asking frames in rising order is cheap.
  virtual std::shared_ptr<const KLPixels> frame(std::size_t index) const = 0;
  /// How long frame `index` stands, in seconds; 0 for a still picture.
  virtual double delay(std::size_t index) const = 0;
  /// The sum of all delays, in seconds.
  virtual double duration() const = 0;

 protected:
  KLImage() = default;
};

}  // namespace kaleo
