#include "KLQtImageCache.h"

#include <algorithm>
#include <cstddef>

namespace kaleo {
namespace {

/// Some screens full of pixels at twice the usual density, or a second of an animation.
constexpr qint64 kMostBytes = 64 * 1024 * 1024;
constexpr int kBytesAPixel = 4;

bool isPicture(const KLPixels& pixels) {
  if (pixels.width <= 0 || pixels.height <= 0) return false;
  return pixels.rgba.size() / kBytesAPixel / static_cast<std::size_t>(pixels.width) >= static_cast<std::size_t>(pixels.height);
}

QImage makeImage(const KLPixels& pixels, QSize target) {
  const QImage whole(pixels.rgba.data(), pixels.width, pixels.height, static_cast<qsizetype>(pixels.width) * kBytesAPixel,
                     QImage::Format_RGBA8888_Premultiplied);
  const QImage drawable = whole.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  return target == drawable.size() ? drawable : drawable.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

}  // namespace

QImage KLQtImageCache::image(const std::shared_ptr<const KLPixels>& pixels, QSize target) {
  if (!pixels || !isPicture(*pixels) || target.isEmpty()) return {};
  const QSize size = target.boundedTo({pixels->width, pixels->height});
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.target == size && entry.pixels.lock() == pixels; });
  if (found != entries_.end()) {
    entries_.splice(entries_.begin(), entries_, found);
  } else {
    entries_.push_front({pixels, size, makeImage(*pixels, size)});
    bytes_ += entries_.front().image.sizeInBytes();
    trim();
  }
  return entries_.front().image;
}

void KLQtImageCache::trim() {
  const auto drop = [this](auto entry) {
    bytes_ -= entry->image.sizeInBytes();
    return entries_.erase(entry);
  };
  for (auto entry = entries_.begin(); entry != entries_.end();) entry = entry->pixels.expired() ? drop(entry) : std::next(entry);
  while (bytes_ > kMostBytes && entries_.size() > 1) drop(std::prev(entries_.end()));
}

}  // namespace kaleo
