#pragma once

#include <QColor>
#include <QPainterPath>
#include <QRectF>
#include <QTransform>

#include "kaleo/KLView.h"

/// The geometry of drawing: pure functions.
namespace kaleo::qt {

QColor colorOf(const KLColor& color);

/// The view's bounds in its own coordinates.
QRectF boundsOf(const KLView& view);
/// Whether the view can be drawn at all: lengths are numbers within reason, and it is not faded out.
bool isDrawable(const KLView& view);
/// What the view and its subviews cover, in the view's coordinates, scaling included.
QRectF reachOf(const KLView& view);

/// `rect` with its edges moved to whole device pixels; at least one pixel wide and high where it was not empty.
/// `toDevice` scales and moves.
QRectF aligned(const QTransform& toDevice, const QRectF& rect);
/// A border's width of a whole number of device pixels, at least one.
double alignedWidth(double width, double deviceScale);

/// A rectangle with round corners; the radius is at most half of the shorter side.
QPainterPath rounded(const QRectF& rect, double radius);
/// The area between `rect` and the same rectangle `width` further inside.
QPainterPath frameInside(const QRectF& rect, double radius, double innerRadius, double width);
/// What of `rect` lies outside of its rounded shape.
QPainterPath cornersOf(const QRectF& rect, double radius);

}  // namespace kaleo::qt
