#include "KLQtShapes.h"

#include <algorithm>
#include <cmath>

namespace kaleo::qt {
namespace {

/// In points. Far larger than any screen, far smaller than where Qt's rasteriser overflows in its arithmetic.
constexpr double kLongestLength = 1e6;
/// A popup grows to its full size; nothing is blown up much further.
constexpr double kLargestScale = 100;

bool isReasonable(double length) { return std::abs(length) <= kLongestLength; }  // false for what is not a number

float component(double value) { return static_cast<float>(std::clamp(std::isfinite(value) ? value : 0.0, 0.0, 1.0)); }

QRectF scaledAbout(QPointF centre, const QRectF& rect, double scale) {
  return {centre + (rect.topLeft() - centre) * scale, rect.size() * scale};
}

}  // namespace

QColor colorOf(const KLColor& color) {
  return QColor::fromRgbF(component(color.red), component(color.green), component(color.blue), component(color.alpha));
}

QRectF boundsOf(const KLView& view) { return {0, 0, view.frame.width, view.frame.height}; }

bool isDrawable(const KLView& view) {
  const KLRect& frame = view.frame;
  const KLView::Transform& transform = view.transform;
  return isReasonable(frame.x) && isReasonable(frame.y) && isReasonable(frame.width) && isReasonable(frame.height) &&
         frame.width >= 0 && frame.height >= 0 && isReasonable(transform.translateX) && isReasonable(transform.translateY) &&
         transform.scale > 0 && transform.scale <= kLargestScale && view.alpha > 0;
}

QRectF reachOf(const KLView& view) {
  QRectF reach = boundsOf(view);
  if (view.clipsToBounds) return reach;
  for (const auto& child : view.subviews()) {
    if (!isDrawable(*child)) continue;
    const QRectF scaled = scaledAbout(boundsOf(*child).center(), reachOf(*child), child->transform.scale);
    reach |= scaled.translated(child->frame.x + child->transform.translateX, child->frame.y + child->transform.translateY);
  }
  return reach;
}

QRectF aligned(const QTransform& toDevice, const QRectF& rect) {
  if (rect.isEmpty()) return rect;
  const QRectF device = toDevice.mapRect(rect);
  const double left = std::round(device.left());
  const double top = std::round(device.top());
  const double right = std::max(left + 1, std::round(device.right()));
  const double bottom = std::max(top + 1, std::round(device.bottom()));
  return toDevice.inverted().mapRect(QRectF(QPointF(left, top), QPointF(right, bottom)));
}

double alignedWidth(double width, double deviceScale) { return std::max(1.0, std::round(width * deviceScale)) / deviceScale; }

QPainterPath rounded(const QRectF& rect, double radius) {
  QPainterPath path;
  const double most = std::min(rect.width(), rect.height()) / 2;
  const double used = std::clamp(std::isfinite(radius) ? radius : 0.0, 0.0, std::max(0.0, most));
  used > 0 ? path.addRoundedRect(rect, used, used) : path.addRect(rect);
  return path;
}

QPainterPath frameInside(const QRectF& rect, double radius, double innerRadius, double width) {
  QPainterPath path = rounded(rect, radius);
  const QRectF inner = rect.adjusted(width, width, -width, -width);
  if (!inner.isEmpty()) path.addPath(rounded(inner, innerRadius));
  path.setFillRule(Qt::OddEvenFill);
  return path;
}

QPainterPath cornersOf(const QRectF& rect, double radius) {
  QPainterPath path = rounded(rect, radius);
  path.addRect(rect.adjusted(-1, -1, 1, 1));  // a layer's last pixels must not survive a rounding
  path.setFillRule(Qt::OddEvenFill);
  return path;
}

}  // namespace kaleo::qt
