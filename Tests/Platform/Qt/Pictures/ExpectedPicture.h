#pragma once

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Qt/KLQtTextLayout.h"

namespace kaleo {

/// A text set line by line ("\n" ends one).
struct PlainLines {
  QString text;
  int size;  ///< in points
  Qt::AlignmentFlag alignment = Qt::AlignLeft;
  QColor color = Qt::black;
  double kerning = 1;
  double lineSpacing = 0;
  bool underline = false;

  QFont font() const {
    QFont made = KLQtSystemFont().ofSize(size);
    made.setLetterSpacing(QFont::AbsoluteSpacing, kerning);
    made.setUnderline(underline);
    return made;
  }
  double step() const {
    const QFontMetricsF metrics(font());
    return metrics.ascent() + metrics.descent() + metrics.leading() + lineSpacing;
  }
  double height() const { return double(text.count('\n') + 1) * step() - lineSpacing; }
};

/// What a picture should look like, worked out without the painter under test: areas from numbers alone, a pixel on a curve being
/// the mean of many samples; texts on top of them by QPainter::drawText. Areas are added from back to front. Lengths are in points,
/// edges lie on whole device pixels, what is under all is white.
class ExpectedPicture {
 public:
  /// A rectangle in device pixels with round corners.
  struct Area {
    QRectF rect;
    double radius = 0;

    bool holds(QPointF point) const {
      if (!rect.contains(point)) return false;
      const double dx = std::max(rect.left() + radius - point.x(), point.x() - rect.right() + radius);
      const double dy = std::max(rect.top() + radius - point.y(), point.y() - rect.bottom() + radius);
      return dx <= 0 || dy <= 0 || dx * dx + dy * dy <= radius * radius;
    }
    /// Whether the pixel may be cut by a round corner.
    bool bendsIn(QPoint pixel) const {
      const QRectF cell(pixel, QSizeF(1, 1));
      const QRectF core = rect.adjusted(radius, radius, -radius, -radius);
      return radius > 0 && rect.intersects(cell) && (cell.left() < core.left() || cell.right() > core.right()) &&
             (cell.top() < core.top() || cell.bottom() > core.bottom());
    }
  };

  ExpectedPicture(QSizeF points, double scale) : scale_(scale), size_((points * scale).toSize()) {}

  Area area(QRectF points, double radius = 0) const {
    const QPointF topLeft(std::round(points.left() * scale_), std::round(points.top() * scale_));
    const QPointF bottomRight(std::round(points.right() * scale_), std::round(points.bottom() * scale_));
    return {QRectF(topLeft, bottomRight), radius * scale_};
  }
  void fill(const Area& area, QColor color, const std::vector<Area>& clips = {}) {
    add({area, std::nullopt, clips, [color](QPoint) { return color; }});
  }
  /// The border of `area`, `width` points inside of it.
  void ring(const Area& area, double width, QColor color, const std::vector<Area>& clips = {}) {
    const double pixels = std::max(1.0, std::round(width * scale_));
    const Area hole{area.rect.adjusted(pixels, pixels, -pixels, -pixels), std::max(0.0, area.radius - pixels)};
    add({area, hole, clips, [color](QPoint) { return color; }});
  }
  /// `picture`, which has as many pixels as `area`, pixel by pixel.
  void pattern(const Area& area, const QImage& picture, const std::vector<Area>& clips = {}) {
    const QPoint origin = area.rect.topLeft().toPoint();
    add({area, std::nullopt, clips, [=](QPoint pixel) { return picture.pixelColor(pixel - origin); }});
  }
  /// The lines, centred vertically in `frame` (in points), of which only what lies in `visible` (in points) is seen.
  void text(QRectF frame, const PlainLines& lines, QRectF visible) { texts_.push_back({frame, lines, area(visible).rect}); }
  void text(QRectF frame, const PlainLines& lines) { text(frame, lines, frame); }
  /// What is in there may look as it likes.
  void ignore(QRectF points) { ignored_.push_back(area(points).rect); }

  QImage image() const {
    QImage made(size_, QImage::Format_RGB32);
    for (int y = 0; y < made.height(); ++y) {
      for (int x = 0; x < made.width(); ++x) made.setPixelColor(x, y, mean({x, y}));
    }
    QPainter painter(&made);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    for (const Text& text : texts_) {
      painter.setClipRect(text.visible);
      painter.scale(scale_, scale_);
      draw(painter, text);
      painter.resetTransform();
    }
    return made;
  }

  /// "" when `seen` looks like `wanted`, which this has made; else where it does not. Far finer than a wrong row of pixels.
  std::string difference(const QImage& seen, const QImage& wanted) const {
    if (seen.size() != wanted.size()) return "another size";
    for (int y = 0; y < seen.height(); ++y) {
      for (int x = 0; x < seen.width(); ++x) {
        const QColor is = seen.pixelColor(x, y), should = wanted.pixelColor(x, y);
        const int apart = std::max(
            {std::abs(is.red() - should.red()), std::abs(is.green() - should.green()), std::abs(is.blue() - should.blue())});
        if (apart <= kTolerance || apart <= toleranceAt({x, y})) continue;
        return std::to_string(x) + "," + std::to_string(y) + ": " + is.name().toStdString() + ", not " +
               should.name().toStdString();
      }
    }
    return "";
  }

 private:
  // Of 255.
  static constexpr int kTolerance = 3;        // colours are mixed in whole numbers
  static constexpr int kCurveTolerance = 40;  // where a curve cuts a pixel
  static constexpr int kTextTolerance = 120;  // letters stand on quarters of a pixel, and may take the next one

  static constexpr int kSamples = 8;  // a side of a pixel that a curve cuts

  struct Layer {
    Area area;
    std::optional<Area> hole;
    std::vector<Area> clips;
    std::function<QColor(QPoint pixel)> color;

    bool holds(QPointF point) const {
      return area.holds(point) && !(hole && hole->holds(point)) &&
             std::all_of(clips.begin(), clips.end(), [point](const Area& clip) { return clip.holds(point); });
    }
  };
  struct Text {
    QRectF frame;
    PlainLines lines;
    QRectF visible;  ///< in device pixels
  };

  void add(Layer layer) {
    curves_.push_back(layer.area);
    if (layer.hole) curves_.push_back(*layer.hole);
    curves_.insert(curves_.end(), layer.clips.begin(), layer.clips.end());
    layers_.push_back(std::move(layer));
  }
  bool isCurved(QPoint pixel) const {
    return std::any_of(curves_.begin(), curves_.end(), [pixel](const Area& area) { return area.bendsIn(pixel); });
  }
  int toleranceAt(QPoint pixel) const {
    const auto isIn = [pixel](const QRectF& rect) { return rect.contains(QPointF(pixel) + QPointF(0.5, 0.5)); };
    if (std::any_of(ignored_.begin(), ignored_.end(), isIn)) return 255;
    if (std::any_of(texts_.begin(), texts_.end(), [&](const Text& text) { return isIn(text.visible); })) return kTextTolerance;
    return isCurved(pixel) ? kCurveTolerance : kTolerance;
  }
  QColor mean(QPoint pixel) const {
    const int samples = isCurved(pixel) ? kSamples : 1;
    double sum[3] = {};
    for (int i = 0; i < samples * samples; ++i) {
      double mixed[3] = {255, 255, 255};
      const QPointF point(pixel.x() + (i % samples + 0.5) / samples, pixel.y() + (i / samples + 0.5) / samples);
      for (const Layer& layer : layers_) {
        if (!layer.holds(point)) continue;
        const QColor color = layer.color(pixel);
        const double parts[] = {double(color.red()), double(color.green()), double(color.blue())};
        for (int part = 0; part < 3; ++part) mixed[part] += (parts[part] - mixed[part]) * color.alphaF();
      }
      for (int part = 0; part < 3; ++part) sum[part] += mixed[part];
    }
    const auto level = [&](int part) { return int(std::lround(sum[part] / (samples * samples))); };
    return {level(0), level(1), level(2)};
  }
  static void draw(QPainter& painter, const Text& text) {
    const QFontMetricsF metrics(text.lines.font());
    painter.setFont(text.lines.font());
    painter.setPen(text.lines.color);
    const double first = text.frame.top() + (text.frame.height() - text.lines.height()) / 2 + metrics.ascent();
    double below = 0;
    for (const QString& line : text.lines.text.split('\n')) {
      const double room = text.frame.width() - metrics.horizontalAdvance(line);
      const double share = text.lines.alignment == Qt::AlignRight ? 1 : text.lines.alignment == Qt::AlignHCenter ? 0.5 : 0;
      const double onGrid = std::floor(below * 64) / 64;  // Qt's layouts keep positions in 64ths
      painter.drawText(QPointF(text.frame.left() + room * share, first + onGrid), line);
      below += text.lines.step();
    }
  }

  const double scale_;
  const QSize size_;
  std::vector<Layer> layers_;
  std::vector<Area> curves_;
  std::vector<Text> texts_;
  std::vector<QRectF> ignored_;
};

}  // namespace kaleo
