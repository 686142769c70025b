#include "KLQtPainter.h"

#include <algorithm>
#include <cmath>

#include "KLQtShapes.h"

namespace kaleo {
namespace {

/// More texts than a popup has.
constexpr std::size_t kMostTexts = 32;

/// How much darker a button is while it is held down.
constexpr double kPressedShade = 0.12;

// The scroll indicator, in points.
constexpr double kIndicatorWidth = 3;
constexpr double kIndicatorMargin = 1;
constexpr double kIndicatorLeastLength = 18;
const QColor kIndicatorColor(0, 0, 0, 90);

// The focus ring, in points, outside of the view.
constexpr double kRingGap = 1;
constexpr double kRingWidth = 2;
constexpr double kRingHalo = 1;
const QColor kRingHaloColor(255, 255, 255, 220);

constexpr QPainter::RenderHints kHints = QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing;

bool isRoundlyClipped(const KLView& view) { return view.clipsToBounds && view.cornerRadius > 0; }

bool hasBorder(const KLView& view) { return view.borderWidth > 0 && std::isfinite(view.borderWidth) && view.borderColor; }

bool hasMoreThanShape(const KLView& view) { return view.image || view.backgroundImage || view.text || !view.subviews().empty(); }

/// Whether fading the parts one by one could look different from fading the whole.
bool hasSeveralParts(const KLView& view) {
  const int own = bool(view.backgroundColor) + bool(view.backgroundImage) + bool(view.image) + bool(view.text) + hasBorder(view);
  return own > 1 || !view.subviews().empty();
}

bool needsLayer(const KLView& view) {
  return (isRoundlyClipped(view) && hasMoreThanShape(view)) || view.transform.scale != 1 || view.highlighted ||
         (view.alpha < 1 && hasSeveralParts(view));
}

double scrollOffset(const KLView& view) {
  if (view.kind() != KLView::Kind::TextView || !std::isfinite(view.contentOffsetY)) return 0;
  return view.contentOffsetY;
}

void paintScrollIndicator(QPainter& painter, const KLView& view) {
  const double shown = view.frame.height;
  if (!(view.contentHeight > shown) || shown <= 2 * kIndicatorMargin || !std::isfinite(view.contentHeight)) return;
  const double track = shown - 2 * kIndicatorMargin;
  const double length = std::min(track, std::max(kIndicatorLeastLength, track * shown / view.contentHeight));
  const double part = std::clamp(scrollOffset(view) / (view.contentHeight - shown), 0.0, 1.0);
  const QRectF thumb(view.frame.width - kIndicatorMargin - kIndicatorWidth, kIndicatorMargin + part * (track - length),
                     kIndicatorWidth, length);
  painter.fillPath(qt::rounded(thumb, kIndicatorWidth / 2), kIndicatorColor);
}

/// Where a view's text may be seen: a label's edge does not cut the letters that reach beyond their line, as those of some scripts
/// do.
QRectF textClip(const KLView& view) {
  constexpr double kOverhang = 0.25;  // of the font size
  const bool isOpen = view.kind() == KLView::Kind::Label && view.text->fontSize > 0;
  const double overhang = isOpen ? kOverhang * std::min(view.text->fontSize, view.frame.height) : 0;
  return qt::boundsOf(view).adjusted(0, -overhang, 0, overhang);
}

/// Where a text's top left lies in its view.
QPointF textOrigin(const KLView& view, QSizeF textSize) {
  if (view.kind() == KLView::Kind::TextView) return {0, -scrollOffset(view)};
  return {0, std::max(view.kind() == KLView::Kind::Button ? -textSize.height() : 0.0, (view.frame.height - textSize.height()) / 2)};
}

}  // namespace

QImage KLQtPainter::paint(const KLView& root, QSizeF size, double deviceScale, const QColor& accent) {
  QImage picture = surfaces_.take((size * deviceScale).toSize().expandedTo({1, 1}));
  scale_ = deviceScale;
  layerOrigin_ = {};
  focusRing_.reset();
  QPainter painter(&picture);
  painter.setRenderHints(kHints);
  painter.scale(deviceScale, deviceScale);
  paintView(painter, root);
  painter.resetTransform();
  paintFocusRing(painter, accent);
  painter.end();
  picture.setDevicePixelRatio(deviceScale);
  return picture;
}

void KLQtPainter::paintView(QPainter& painter, const KLView& view) {
  if (!qt::isDrawable(view)) return;
  painter.save();
  painter.translate(view.frame.x + std::round(view.transform.translateX * scale_) / scale_,
                    view.frame.y + std::round(view.transform.translateY * scale_) / scale_);
  noteFocus(painter.transform(), view);
  if (needsLayer(view)) {
    paintLayer(painter, view);
  } else {
    painter.setOpacity(painter.opacity() * std::min(1.0, view.alpha));
    paintContents(painter, view, view.cornerRadius);
  }
  painter.restore();
}

void KLQtPainter::paintLayer(QPainter& painter, const KLView& view) {
  const QTransform toDevice = painter.transform();
  const QRectF area(0, 0, painter.device()->width(), painter.device()->height());
  const QRect covered = (toDevice.mapRect(qt::reachOf(view)).adjusted(-1, -1, 1, 1) & area).toAlignedRect();
  if (covered.isEmpty()) return;

  QImage layer = layerOf(view, toDevice, covered);
  const QPointF centre = toDevice.map(qt::boundsOf(view).center());
  const double scale = view.transform.scale;
  painter.setTransform(QTransform(scale, 0, 0, scale, centre.x() * (1 - scale), centre.y() * (1 - scale)));
  painter.setOpacity(painter.opacity() * std::min(1.0, view.alpha));
  painter.drawImage(covered.topLeft(), layer);
  surfaces_.giveBack(std::move(layer));
}

QImage KLQtPainter::layerOf(const KLView& view, const QTransform& toDevice, const QRect& covered) {
  QImage layer = surfaces_.take(covered.size());
  QPainter inner(&layer);
  inner.setRenderHints(kHints);
  inner.setTransform(toDevice * QTransform::fromTranslate(-covered.x(), -covered.y()));
  layerOrigin_ += covered.topLeft();
  const bool roundly = isRoundlyClipped(view);
  paintContents(inner, view, roundly ? 0 : view.cornerRadius);
  layerOrigin_ -= covered.topLeft();
  if (roundly) {
    inner.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    inner.fillPath(qt::cornersOf(qt::aligned(inner.transform(), qt::boundsOf(view)), view.cornerRadius), Qt::black);
  }
  inner.resetTransform();
  if (view.highlighted) {
    inner.setCompositionMode(QPainter::CompositionMode_SourceAtop);
    inner.fillRect(layer.rect(), QColor::fromRgbF(0, 0, 0, kPressedShade));
  }
  inner.end();
  return layer;
}

KLQtPainter::Layer KLQtPainter::paintAtRest(const KLView& view, QSizeF size, double deviceScale, const QColor& accent) {
  scale_ = deviceScale;
  layerOrigin_ = {};
  focusRing_.reset();
  const QTransform toDevice = QTransform::fromScale(deviceScale, deviceScale).translate(view.frame.x, view.frame.y);
  const double beyond = (kRingGap + kRingWidth + kRingHalo) * deviceScale + 1;
  const QRectF area(QPointF(0, -size.height() * deviceScale), QSizeF(size.width(), 3 * size.height()) * deviceScale);
  const QRect covered = (toDevice.mapRect(qt::reachOf(view)).adjusted(-beyond, -beyond, beyond, beyond) & area).toAlignedRect();
  if (covered.isEmpty()) return {};
  QImage picture = layerOf(view, toDevice, covered);
  noteFocus(toDevice, view);
  QPainter painter(&picture);
  painter.setRenderHints(kHints);
  painter.translate(-covered.topLeft());
  paintFocusRing(painter, accent);
  return {picture, covered.topLeft(), toDevice.map(qt::boundsOf(view).center())};
}

void KLQtPainter::noteFocus(const QTransform& toDevice, const KLView& view) {
  if (!view.focused || view.kind() == KLView::Kind::Mask) return;
  const QRectF device = toDevice.mapRect(qt::aligned(toDevice, qt::boundsOf(view)));
  focusRing_ = FocusRing{device.translated(layerOrigin_), view.cornerRadius * scale_};
}

void KLQtPainter::paintContents(QPainter& painter, const KLView& view, double radius) {
  const QRectF bounds = qt::aligned(painter.transform(), qt::boundsOf(view));
  painter.save();
  if (view.clipsToBounds) painter.setClipRect(bounds, Qt::IntersectClip);
  paintBackground(painter, view, bounds, radius);
  paintImage(painter, view.backgroundImage, 0, bounds);
  paintImage(painter, view.image, view.currentFrame, bounds);
  if (view.text) paintText(painter, view);
  for (const auto& child : view.subviews()) paintView(painter, *child);
  if (hasBorder(view)) {
    const double width = qt::alignedWidth(view.borderWidth, scale_);
    const double innerRadius = std::max(0.0, view.cornerRadius - width);
    painter.fillPath(qt::frameInside(bounds, radius, innerRadius, width), qt::colorOf(*view.borderColor));
  }
  painter.restore();
}

void KLQtPainter::paintBackground(QPainter& painter, const KLView& view, const QRectF& bounds, double radius) const {
  if (!view.backgroundColor || view.backgroundColor->alpha <= 0 || bounds.isEmpty()) return;
  // Under an opaque border the background ends halfway, or its colour would shine through the border's smoothed outer edge.
  const bool covered = radius > 0 && hasBorder(view) && view.borderColor->alpha >= 1;
  const double inset = covered ? std::min({qt::alignedWidth(view.borderWidth, scale_), bounds.width(), bounds.height()}) / 2 : 0;
  painter.fillPath(qt::rounded(bounds.adjusted(inset, inset, -inset, -inset), radius - inset), qt::colorOf(*view.backgroundColor));
}

void KLQtPainter::paintImage(QPainter& painter, const std::shared_ptr<const KLImage>& image, std::size_t frame,
                             const QRectF& bounds) {
  if (!image || image->frameCount() == 0 || bounds.isEmpty()) return;
  const QRectF device = painter.transform().mapRect(bounds);
  const QImage drawn = images_.image(image->frame(std::min(frame, image->frameCount() - 1)), device.size().toSize());
  if (drawn.isNull()) return;
  painter.save();
  painter.resetTransform();
  if (drawn.size() == device.size().toSize()) {
    painter.drawImage(device.topLeft().toPoint(), drawn);  // pixel by pixel
  } else {
    painter.drawImage(device, drawn);
  }
  painter.restore();
}

void KLQtPainter::paintText(QPainter& painter, const KLView& view) {
  const KLQtTextLayout& layout = layoutOf(view);
  const QRectF clip = textClip(view);
  painter.save();
  painter.setClipRect(qt::aligned(painter.transform(), clip), Qt::IntersectClip);
  painter.setPen(view.text->color ? qt::colorOf(*view.text->color) : QColor(Qt::black));
  layout.draw(painter, textOrigin(view, layout.size()), clip);
  painter.restore();
  if (view.kind() == KLView::Kind::TextView) paintScrollIndicator(painter, view);
}

void KLQtPainter::paintFocusRing(QPainter& painter, const QColor& accent) const {
  if (!focusRing_) return;
  const auto ring = [&](double gap, double width, const QColor& color) {
    const double outset = (gap + width) * scale_;
    const double outer = focusRing_->radius + outset;
    const QRectF rect = focusRing_->bounds.adjusted(-outset, -outset, outset, outset);
    painter.fillPath(qt::frameInside(rect, outer, outer - width * scale_, width * scale_), color);
  };
  ring(kRingGap, kRingWidth, accent);
  ring(kRingGap + kRingWidth, kRingHalo, kRingHaloColor);
}

const KLQtTextLayout& KLQtPainter::layoutOf(const KLView& view) {
  using Lines = KLQtTextLayout::Lines;
  const Lines lines = view.kind() == KLView::Kind::Button ? Lines::One : Lines::Many;
  const double width = view.frame.width;
  const auto kept = std::find_if(texts_.begin(), texts_.end(), [&](const KeptText& text) {
    return text.width == width && text.lines == lines && text.text == *view.text;
  });
  if (kept != texts_.end()) {
    texts_.splice(texts_.begin(), texts_, kept);
  } else {
    texts_.emplace_front(font_, *view.text, width, lines);
    if (texts_.size() > kMostTexts) texts_.pop_back();
  }
  return texts_.front().layout;
}

}  // namespace kaleo
