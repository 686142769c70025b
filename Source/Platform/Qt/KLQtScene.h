#pragma once

#include <QImage>
#include <QPainter>
#include <memory>
#include <optional>
#include <vector>

#include "KLQtPainter.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// A popup on its window: the mask's colour, and above it the popup as a picture that is drawn once and then only moved, scaled and
/// faded, until the tree looks different. So a frame of a movement costs what putting a picture costs, however much is in it.
/// Main thread.
class KLQtScene {
 public:
  explicit KLQtScene(std::shared_ptr<KLQtPainter> painter) : painter_(std::move(painter)) {}

  /// The tree looks different: what is kept is drawn anew.
  void invalidate();
  /// Draws the tree of `root`, whose frame starts at the origin, on a widget of `size` points. A focused view gets a ring in
  /// `accent`.
  void draw(QPainter& painter, const KLView& root, QSizeF size, double deviceScale, const QColor& accent);

 private:
  struct Kept {
    const KLView* view;
    KLQtPainter::Layer layer;
  };
  void drawLayer(QPainter& painter, const KLView& view, const QColor& accent);
  const KLQtPainter::Layer& layerOf(const KLView& view, const QColor& accent);

  const std::shared_ptr<KLQtPainter> painter_;
  std::vector<Kept> kept_;
  // What the layers were drawn for.
  QSizeF size_;
  double deviceScale_ = 0;
};

}  // namespace kaleo
