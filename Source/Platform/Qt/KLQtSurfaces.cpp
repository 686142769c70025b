#include "KLQtSurfaces.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kaleo {
namespace {

/// The window, the popup, and its rounded pictures and buttons; what a popup has beyond is made anew.
constexpr std::size_t kMostSpare = 8;

}  // namespace

QImage KLQtSurfaces::take(QSize size) {
  const auto fitting = std::find_if(spare_.begin(), spare_.end(), [size](const QImage& spare) { return spare.size() == size; });
  QImage surface;
  if (fitting != spare_.end()) {
    surface = std::move(*fitting);
    spare_.erase(fitting);
    surface.setDevicePixelRatio(1);
  } else {
    surface = QImage(size, QImage::Format_ARGB32_Premultiplied);
  }
  surface.fill(Qt::transparent);
  return surface;
}

void KLQtSurfaces::giveBack(QImage surface) {
  if (surface.isNull()) return;
  if (spare_.size() == kMostSpare) spare_.erase(spare_.begin());
  spare_.push_back(std::move(surface));
}

}  // namespace kaleo
