#include "KLQtScene.h"

#include <algorithm>
#include <cmath>

#include "KLQtShapes.h"

namespace kaleo {
namespace {

/// Whether a root is nothing but a colour under its subviews.
bool isBackdrop(const KLView& root) {
  return !root.text && !root.image && !root.backgroundImage && root.cornerRadius == 0 && root.borderWidth == 0 && root.alpha == 1 &&
         root.transform == KLView::Transform{} && !root.highlighted;
}

}  // namespace

void KLQtScene::invalidate() {
  for (Kept& kept : kept_) painter_->recycle(std::move(kept.layer.picture));
  kept_.clear();
}

void KLQtScene::draw(QPainter& painter, const KLView& root, QSizeF size, double deviceScale, const QColor& accent) {
  if (size_ != size || deviceScale_ != deviceScale) invalidate();
  size_ = size;
  deviceScale_ = deviceScale;
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  if (!isBackdrop(root)) return drawLayer(painter, root, accent);
  if (root.backgroundColor && root.backgroundColor->alpha > 0) {
    painter.fillRect(qt::boundsOf(root), qt::colorOf(*root.backgroundColor));
  }
  for (const auto& child : root.subviews()) drawLayer(painter, *child, accent);
}

void KLQtScene::drawLayer(QPainter& painter, const KLView& view, const QColor& accent) {
  if (!qt::isDrawable(view)) return;
  const KLQtPainter::Layer& layer = layerOf(view, accent);
  if (layer.picture.isNull()) return;
  painter.save();
  painter.scale(1 / deviceScale_, 1 / deviceScale_);
  painter.translate(std::round(view.transform.translateX * deviceScale_), std::round(view.transform.translateY * deviceScale_));
  if (view.transform.scale != 1) {
    painter.translate(layer.centre);
    painter.scale(view.transform.scale, view.transform.scale);
    painter.translate(-layer.centre);
  }
  painter.setOpacity(std::min(1.0, view.alpha));
  painter.drawImage(layer.origin, layer.picture);
  painter.restore();
}

const KLQtPainter::Layer& KLQtScene::layerOf(const KLView& view, const QColor& accent) {
  const auto known = std::find_if(kept_.begin(), kept_.end(), [&view](const Kept& kept) { return kept.view == &view; });
  if (known != kept_.end()) return known->layer;
  return kept_.emplace_back(Kept{&view, painter_->paintAtRest(view, size_, deviceScale_, accent)}).layer;
}

}  // namespace kaleo
