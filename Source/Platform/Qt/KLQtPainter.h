#pragma once

#include <QPainter>
#include <QPainterPath>

#include "KLQtImages.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// Draws a view tree. Main thread.
///
/// What rounds its children's corners or is seen through as a whole is drawn into a layer of the device's own pixels first, so that
/// edges are smooth at any depth and overlapping children do not show through each other.
class KLQtPainter {
 public:
  /// `painter` draws in points and is kept as long as this object; `images` keeps scaled pictures between frames.
  KLQtPainter(QPainter& painter, KLQtImages& images) : painter_(&painter), images_(images) {}

  /// Draws `view` in its parent's coordinates, which are the painter's.
  void draw(const KLView& view);

 private:
  void drawLayer(const KLView& view, bool rounded);
  /// Takes away what the layer under way has outside of the view's rounded outline.
  void cutCorners(const KLView& view);
  void drawContents(const KLView& view);
  void drawSubviews(const KLView& view);
  void drawBackground(const KLView& view);
  void drawPicture(const KLImage& image, std::size_t frame, const KLView& view);
  void drawText(const KLView& view);
  void drawScrollIndicator(const KLView& view);
  void drawBorder(const KLView& view);
  void drawFocus(const KLView& view);

  double devicePixelRatio() const { return painter_->device()->devicePixelRatioF(); }

  QPainter* painter_;  ///< of the device, or of the layer under way
  KLQtImages& images_;
};

}  // namespace kaleo
