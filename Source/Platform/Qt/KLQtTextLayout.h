#pragma once

#include <QFont>
#include <QTextLayout>

#include "kaleo/KLAttributedText.h"

class QPainter;

namespace kaleo {

/// The family that texts are set in, taken once from the application's font.
///
/// Sizes are in points = device independent pixels, fractions allowed, whatever the screen's dots per inch. Hinting is off, so
/// that widths and line heights grow in proportion and lines break alike at every device scale.
/// Threads: made on the main thread, immutable, then read on any.
class KLQtSystemFont {
 public:
  KLQtSystemFont();
  /// The font for a text's size, kerning and underline.
  QFont fontFor(const KLAttributedText& text) const;

 private:
  QFont font_;
  double dotsPerInch_;  ///< what Qt multiplies the font's typographic size with
};

/// One text broken into lines. The only place where text is laid out: what was measured is what is drawn.
///
/// Lines break between words, anywhere between Chinese characters as Unicode's rules allow (UAX #14), and inside of a word that is
/// wider than the line. A text without a size (0 or less, not a number) has no lines.
/// Threads: a layout is used by one thread at a time; different layouts are independent.
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
  void breakLines(double width, double lineSpacing);

  QTextLayout layout_;
  QSizeF size_;
};

}  // namespace kaleo
