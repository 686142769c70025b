#pragma once

#include <QTextLayout>
#include <optional>

#include "kaleo/KLAttributedText.h"

class QPainter;

namespace kaleo {

/// Lays out an attributed text, once for measuring and once for drawing in the same way, so that what was measured is what is
/// drawn. Metrics are unhinted design metrics at one pixel a point, whatever the device: lines break alike at every scale. Threads:
/// any, one at a time for each object.
class KLQtTextLayout {
 public:
  /// `width` in points; none: a single line as long as it needs.
  KLQtTextLayout(const KLAttributedText& text, std::optional<double> width);

  /// The height of all lines with the spacing between them, and the width of the longest.
  QSizeF size() const { return size_; }
  void draw(QPainter& painter, QPointF topLeft) const;

 private:
  QTextLayout layout_;
  QColor color_;
  QSizeF size_;
};

}  // namespace kaleo
