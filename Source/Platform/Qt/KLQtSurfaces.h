#pragma once

#include <QImage>
#include <vector>

namespace kaleo {

/// Pictures to draw on, used again from frame to frame: while a popup moves, fetching fresh memory would cost more than drawing.
/// Main thread.
class KLQtSurfaces {
 public:
  /// A transparent picture of `size` device pixels.
  QImage take(QSize size);
  void giveBack(QImage surface);

 private:
  std::vector<QImage> spare_;  ///< the one given back last comes last
};

}  // namespace kaleo
