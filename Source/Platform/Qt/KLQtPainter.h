#pragma once

#include <QImage>
#include <QPainter>
#include <list>
#include <optional>

#include "KLQtImageCache.h"
#include "KLQtSurfaces.h"
#include "KLQtTextLayout.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// Draws a view tree into a picture, by the rules that KLView states.
///
/// Everything is drawn at its resting size, edges on whole device pixels, so that it is sharp at any device scale. A view that is
/// faded, scaled, pressed or rounded over its contents is drawn into a layer of its own first, which is then clipped, darkened,
/// faded and scaled as one picture. Texts and pictures are kept ready between calls.
/// Threads: main thread.
class KLQtPainter {
 public:
  explicit KLQtPainter(KLQtSystemFont font) : font_(std::move(font)) {}

  /// The tree of `root`, whose frame starts at the origin, on a transparent picture of `size` points at `deviceScale` pixels a
  /// point. The focused view, if any, gets a ring in `accent` on top of all.
  QImage paint(const KLView& root, QSizeF size, double deviceScale, const QColor& accent);

  /// A view as a picture of its own, to be put on a window.
  struct Layer {
    QImage picture;  ///< null where there is nothing to be seen
    QPoint origin;   ///< of the picture, in device pixels of the window
    QPointF centre;  ///< of the view, in the same
  };
  /// `view`, which lies directly in a window of `size` points, in its place there but without its own alpha and transform. What
  /// lies beside the window is left out, what lies above or below it not, up to the window's height. A focused view gets its ring.
  Layer paintAtRest(const KLView& view, QSizeF size, double deviceScale, const QColor& accent);
  /// Takes back a picture that is no longer shown, to paint the next one on.
  void recycle(QImage picture) { surfaces_.giveBack(std::move(picture)); }

 private:
  struct FocusRing {
    QRectF bounds;  ///< in device pixels
    double radius;  ///< in device pixels
  };
  struct KeptText {
    KeptText(const KLQtSystemFont& font, const KLAttributedText& source, double points, KLQtTextLayout::Lines count)
        : text(source), width(points), lines(count), layout(font, source, points, count) {}
    KLAttributedText text;
    double width;
    KLQtTextLayout::Lines lines;
    KLQtTextLayout layout;
  };

  void paintView(QPainter& painter, const KLView& view);
  void paintLayer(QPainter& painter, const KLView& view);
  /// The part `covered` (in device pixels) of a view as one picture, clipped and shaded, not yet faded and scaled.
  QImage layerOf(const KLView& view, const QTransform& toDevice, const QRect& covered);
  /// `radius` rounds background and border; 0 where a layer's clip does it.
  void paintContents(QPainter& painter, const KLView& view, double radius);
  void paintBackground(QPainter& painter, const KLView& view, const QRectF& bounds, double radius) const;
  void paintImage(QPainter& painter, const std::shared_ptr<const KLImage>& image, std::size_t frame, const QRectF& bounds);
  void paintText(QPainter& painter, const KLView& view);
  void noteFocus(const QTransform& toDevice, const KLView& view);
  void paintFocusRing(QPainter& painter, const QColor& accent) const;
  const KLQtTextLayout& layoutOf(const KLView& view);

  const KLQtSystemFont font_;
  KLQtImageCache images_;
  KLQtSurfaces surfaces_;
  std::list<KeptText> texts_;  ///< the one used last comes first

  // The picture being painted.
  double scale_ = 1;    ///< device pixels a point
  QPoint layerOrigin_;  ///< of the innermost layer, in device pixels
  std::optional<FocusRing> focusRing_;
};

}  // namespace kaleo
