#pragma once

#include <QImage>
#include <list>
#include <memory>

#include "kaleo/KLImage.h"

namespace kaleo {

/// Pictures in the form and size in which they are drawn, made once for each `KLPixels` and size. The ones used last are kept, up
/// to a bound in bytes. Main thread.
class KLQtImageCache {
 public:
  /// `pixels` ready to be drawn on an area of `target` device pixels: shrunk smoothly where it is larger, as it is where it is
  /// smaller. Null when the pixels are not those of a picture.
  QImage image(const std::shared_ptr<const KLPixels>& pixels, QSize target);

 private:
  struct Entry {
    std::weak_ptr<const KLPixels> pixels;
    QSize target;
    QImage image;
  };
  void trim();

  std::list<Entry> entries_;  ///< the one used last comes first
  qint64 bytes_ = 0;
};

}  // namespace kaleo
