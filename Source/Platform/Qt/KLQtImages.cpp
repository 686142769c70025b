#include "KLQtImages.h"

namespace kaleo {
namespace {

/// The pixels themselves, not a copy; the image keeps them alive.
QImage wrap(const std::shared_ptr<const KLPixels>& pixels) {
  using Owner = std::shared_ptr<const KLPixels>;
  const auto release = [](void* owner) { delete static_cast<Owner*>(owner); };
  return QImage(pixels->rgba.data(), pixels->width, pixels->height, qsizetype{pixels->width} * 4,
                QImage::Format_RGBA8888_Premultiplied, release, new Owner(pixels));
}

}  // namespace

QImage KLQtImages::image(const KLImage& image, std::size_t index, QSize size) {
  if (size.isEmpty() || index >= image.frameCount()) return {};
  const auto pixels = image.frame(index);
  if (!pixels || pixels->width <= 0 || pixels->height <= 0) return {};
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    if (entry->source.lock() != pixels || entry->size != size) continue;
    entries_.splice(entries_.begin(), entries_, entry);
    return entry->image;
  }
  QImage scaled = wrap(pixels).convertToFormat(QImage::Format_ARGB32_Premultiplied);
  if (scaled.size() != size) scaled = scaled.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  entries_.remove_if([](const Entry& entry) { return entry.source.expired(); });
  entries_.push_front({pixels, size, scaled});
  if (entries_.size() > kMaxEntries) entries_.pop_back();
  return scaled;
}

}  // namespace kaleo
