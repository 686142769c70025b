#include "KLQtPainter.h"

#include <algorithm>
#include <cmath>

#include "KLQtColor.h"
#include "KLQtTextLayout.h"

namespace kaleo {
namespace {

constexpr double kHighlightAlpha = 0.14;  ///< of the black that darkens a button held down
constexpr double kIndicatorWidth = 3, kIndicatorMargin = 2, kShortestIndicator = 24;
constexpr double kFocusWidth = 2;
constexpr double kLayerMargin = 2;  ///< more than a layer reaches beyond the view that it is cut to
const QColor kIndicatorColor(0, 0, 0, 90);
const QColor kFocusColor(10, 132, 255);

QRectF boundsOf(const KLView& view) { return {0, 0, view.frame.width, view.frame.height}; }

double radiusOf(const KLView& view) {
  const double largest = std::min(view.frame.width, view.frame.height) / 2;
  return std::clamp(view.cornerRadius, 0.0, std::max(largest, 0.0));
}

QPainterPath outline(const KLView& view, double inset = 0) {
  QPainterPath path;
  const double radius = std::max(radiusOf(view) - inset, 0.0);
  path.addRoundedRect(boundsOf(view).adjusted(inset, inset, -inset, -inset), radius, radius);
  return path;
}

bool paintsSomethingToRound(const KLView& view) {
  return view.image || view.backgroundImage || view.text || !view.subviews().empty();
}

/// Turns the painter to the view's own coordinates, transformed about the frame's centre.
void enter(QPainter& painter, const KLView& view) {
  const KLView::Transform& transform = view.transform;
  painter.translate(view.frame.x + transform.translateX, view.frame.y + transform.translateY);
  if (transform.scale == 1) return;
  const QPointF centre = boundsOf(view).center();
  painter.translate(centre);
  painter.scale(transform.scale, transform.scale);
  painter.translate(-centre);
}

}  // namespace

void KLQtPainter::draw(const KLView& view) {
  if (view.alpha <= 0 || view.transform.scale <= 0) return;
  painter_->save();
  enter(*painter_, view);
  const bool rounded = view.clipsToBounds && radiusOf(view) > 0 && paintsSomethingToRound(view);
  const bool seenThrough = view.alpha < 1 && !view.subviews().empty();
  if (rounded || seenThrough) {
    drawLayer(view, rounded);
  } else {
    painter_->setOpacity(painter_->opacity() * view.alpha);
    if (view.clipsToBounds) painter_->setClipRect(boundsOf(view), Qt::IntersectClip);
    drawContents(view);
  }
  painter_->restore();
}

void KLQtPainter::drawLayer(const KLView& view, bool rounded) {
  // The layer covers what of the view lies on the device, in device pixels, under the same transform.
  const QTransform toDevice = painter_->deviceTransform();
  const QTransform fromDevice = toDevice.inverted() * painter_->transform();  // to the painter's untransformed coordinates
  const QRectF visible = fromDevice.inverted().mapRect(QRectF(painter_->viewport()));
  const QRectF drawn = view.clipsToBounds ? toDevice.mapRect(boundsOf(view)).intersected(visible) : visible;
  const QRect area = drawn.toAlignedRect();
  if (area.isEmpty()) return;
  QImage layer(area.size(), QImage::Format_ARGB32_Premultiplied);
  layer.fill(Qt::transparent);

  QPainter layerPainter(&layer);
  layerPainter.setRenderHints(painter_->renderHints());
  layerPainter.setTransform(toDevice * QTransform::fromTranslate(-area.x(), -area.y()));
  QPainter* const outer = std::exchange(painter_, &layerPainter);
  drawContents(view);
  if (rounded) cutCorners(view);
  layerPainter.end();
  painter_ = outer;

  painter_->setOpacity(painter_->opacity() * view.alpha);
  painter_->resetTransform();
  painter_->drawImage(fromDevice.mapRect(QRectF(area)), layer);
}

void KLQtPainter::cutCorners(const KLView& view) {
  QPainterPath outside;
  outside.addRect(boundsOf(view).adjusted(-kLayerMargin, -kLayerMargin, kLayerMargin, kLayerMargin));
  painter_->setCompositionMode(QPainter::CompositionMode_DestinationOut);
  painter_->fillPath(outside.subtracted(outline(view)), Qt::black);
}

void KLQtPainter::drawContents(const KLView& view) {
  drawBackground(view);
  if (view.backgroundImage) drawPicture(*view.backgroundImage, 0, view);
  if (view.image) drawPicture(*view.image, view.currentFrame, view);
  if (view.text) drawText(view);
  drawSubviews(view);
  drawBorder(view);
  if (view.focused) drawFocus(view);
}

void KLQtPainter::drawSubviews(const KLView& view) {
  for (const auto& subview : view.subviews()) draw(*subview);
}

void KLQtPainter::drawBackground(const KLView& view) {
  if (view.backgroundColor) painter_->fillPath(outline(view), toQColor(*view.backgroundColor));
  if (view.highlighted) painter_->fillPath(outline(view), QColor::fromRgbF(0, 0, 0, kHighlightAlpha));
}

void KLQtPainter::drawPicture(const KLImage& image, std::size_t frame, const KLView& view) {
  const QTransform& transform = painter_->transform();
  const double ratio = devicePixelRatio() * std::hypot(transform.m11(), transform.m12());
  // While the popup grows or shrinks the picture keeps its full size, so that it is scaled once and not at every frame.
  const double scale = view.superview() && ratio < devicePixelRatio() ? devicePixelRatio() : ratio;
  const QSize pixels(static_cast<int>(std::lround(view.frame.width * scale)),
                     static_cast<int>(std::lround(view.frame.height * scale)));
  const QImage picture = images_.image(image, frame, pixels);
  if (!picture.isNull()) painter_->drawImage(boundsOf(view), picture);
}

void KLQtPainter::drawText(const KLView& view) {
  if (view.text->fontSize <= 0 || view.text->text.empty()) return;
  const QRectF bounds = boundsOf(view);
  const bool button = view.kind() == KLView::Kind::Button;
  const KLQtTextLayout layout(*view.text, button ? std::nullopt : std::optional(bounds.width()));
  QPointF at;
  if (view.kind() == KLView::Kind::TextView) {
    at = {0, -view.contentOffsetY};
  } else {
    at = {button ? (bounds.width() - layout.size().width()) / 2 : 0, (bounds.height() - layout.size().height()) / 2};
    if (!button) at.setY(std::max(at.y(), 0.0));
  }
  painter_->save();
  painter_->setClipRect(bounds, Qt::IntersectClip);
  layout.draw(*painter_, at);
  painter_->restore();
  if (view.kind() == KLView::Kind::TextView) drawScrollIndicator(view);
}

void KLQtPainter::drawScrollIndicator(const KLView& view) {
  const double visible = view.frame.height;
  if (visible <= 0 || view.contentHeight <= visible) return;
  const double track = visible - 2 * kIndicatorMargin;
  const double length = std::min(std::max(track * visible / view.contentHeight, kShortestIndicator), track);
  const double part = std::clamp(view.contentOffsetY / (view.contentHeight - visible), 0.0, 1.0);
  const QRectF bar(view.frame.width - kIndicatorMargin - kIndicatorWidth, kIndicatorMargin + part * (track - length),
                   kIndicatorWidth, length);
  painter_->setPen(Qt::NoPen);
  painter_->setBrush(kIndicatorColor);
  painter_->drawRoundedRect(bar, kIndicatorWidth / 2, kIndicatorWidth / 2);
}

void KLQtPainter::drawBorder(const KLView& view) {
  if (view.borderWidth <= 0 || !view.borderColor) return;
  painter_->fillPath(outline(view).subtracted(outline(view, view.borderWidth)), toQColor(*view.borderColor));
}

void KLQtPainter::drawFocus(const KLView& view) {
  painter_->fillPath(outline(view).subtracted(outline(view, kFocusWidth)), kFocusColor);
}

}  // namespace kaleo
