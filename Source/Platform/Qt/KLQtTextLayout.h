#pragma once

#include <QFont>
#include <QTextLayout>
#include <deque>

#include "kaleo/KLAttributedText.h"

class QPainter;

namespace kaleo {

/// The family that texts are set in, taken once from the application's font. Hinting is off, so that widths and line heights grow
/// in proportion and lines break alike at every device scale.
/// Threads: made on the main thread, immutable, then read on any.
class KLQtSystemFont {
 public:
  KLQtSystemFont();
  /// The font `pixelSize` device independent pixels high. Qt sets type in whole pixels only.
  QFont ofSize(int pixelSize) const;

 private:
  QFont font_;
};

/// One text broken into lines. The only place where text is laid out: what was measured is what is drawn.
///
/// Lines break between words, anywhere between Chinese characters as Unicode's rules allow (UAX #14), and inside of a word that is
/// wider than the line. A line feed ends a paragraph, and each paragraph runs in the direction of its first letter (UAX #9,
/// rules P2 and P3). Font sizes are in points = device independent pixels, fractions allowed. A text without a size (next to
/// nothing, not a number) has no lines. Threads: a layout is used by one thread at a time; different layouts are independent.
class KLQtTextLayout {
 public:
  enum class Lines {
    Many,  ///< as many as it takes
    One,   ///< one, cut with an ellipsis where it does not fit
  };

  /// `width` in points.
  KLQtTextLayout(const KLQtSystemFont& systemFont, const KLAttributedText& text, double width, Lines lines = Lines::Many);

  /// The width of the widest line and the height of all, in points.
  QSizeF size() const { return size_; }
  /// Draws the lines that meet `visible` (in the painter's coordinates) with the layout's top left at `origin`.
  void draw(QPainter& painter, QPointF origin, const QRectF& visible) const;

 private:
  /// Puts the lines of `layout`, the last one, below what is there.
  void breakLines(QTextLayout& layout, double width, double lineSpacing);

  /// Of paragraphs next to each other in the same direction; in units of `unit_`, in which the font's size is a whole number.
  std::deque<QTextLayout> layouts_;
  double unit_ = 1;  ///< in points
  QSizeF size_{0, 0};
};

}  // namespace kaleo
