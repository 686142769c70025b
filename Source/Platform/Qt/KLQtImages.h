#pragma once

#include <QImage>
#include <QSize>
#include <list>
#include <memory>

#include "kaleo/KLImage.h"

namespace kaleo {

/// Frames of pictures as Qt draws them, scaled once to the pixels they cover and kept while they are in use. Main thread.
class KLQtImages {
 public:
  /// Frame `index` of `image`, `pixels` large, smoothly scaled. Null for an empty size or frame.
  QImage image(const KLImage& image, std::size_t index, QSize pixels);

 private:
  /// A popup shows fewer pictures than that; the frames of an animated one pass through.
  static constexpr std::size_t kMaxEntries = 24;

  struct Entry {
    std::weak_ptr<const KLPixels> source;
    QSize size;
    QImage image;
  };
  std::list<Entry> entries_;  ///< latest first
};

}  // namespace kaleo
