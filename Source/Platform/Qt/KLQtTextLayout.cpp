#include "KLQtTextLayout.h"

#include <QFontDatabase>
#include <QImage>
#include <QPainter>
#include <algorithm>

#include "KLQtColor.h"

namespace kaleo {
namespace {

/// A font size that every font engine takes; a popup's font of size 0 is not drawn at all.
constexpr double kSmallestFontSize = 0.1;
constexpr double kLargestFontSize = 2000;
/// Wide enough for any single line, within the fixed point numbers of the layout.
constexpr double kUnboundedWidth = 4'000'000;
constexpr int kDotsPerMeterAt72 = 2835;

/// A device of 72 dots an inch, on which a typographic point is a pixel.
const QImage& referenceDevice() {
  static const QImage device = [] {
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.setDotsPerMeterX(kDotsPerMeterAt72);
    image.setDotsPerMeterY(kDotsPerMeterAt72);
    return image;
  }();
  return device;
}

QFont fontFor(const KLAttributedText& text) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  font.setPointSizeF(std::clamp(text.fontSize, kSmallestFontSize, kLargestFontSize));
  font.setLetterSpacing(QFont::AbsoluteSpacing, text.kerning);
  font.setUnderline(text.underline);
  font.setHintingPreference(QFont::PreferNoHinting);
  return font;
}

QString layoutText(const std::string& text) {
  return QString::fromStdString(text)
      .replace(QStringLiteral("\r\n"), QString(QChar::LineSeparator))
      .replace(QLatin1Char('\n'), QChar::LineSeparator);
}

Qt::Alignment alignmentFor(KLTextAlignment alignment) {
  switch (alignment) {
    case KLTextAlignment::Center:
      return Qt::AlignHCenter;
    case KLTextAlignment::Right:
      return Qt::AlignRight | Qt::AlignAbsolute;
    case KLTextAlignment::Left:
      break;
  }
  return Qt::AlignLeft;
}

}  // namespace

KLQtTextLayout::KLQtTextLayout(const KLAttributedText& text, std::optional<double> width)
    : layout_(layoutText(text.text), fontFor(text), &referenceDevice()), color_(text.color ? toQColor(*text.color) : Qt::black) {
  QTextOption option(width ? alignmentFor(text.alignment) : Qt::AlignLeft);
  option.setWrapMode(width ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
  option.setUseDesignMetrics(true);
  layout_.setTextOption(option);
  layout_.setCacheEnabled(true);
  const double lineWidth = width ? std::clamp(*width, 0.0, kUnboundedWidth) : kUnboundedWidth;
  double y = 0, longest = 0;
  layout_.beginLayout();
  for (QTextLine line = layout_.createLine(); line.isValid(); line = layout_.createLine()) {
    line.setLeadingIncluded(true);
    line.setLineWidth(lineWidth);
    if (y > 0) y += text.lineSpacing;
    line.setPosition({0, y});
    y += line.height();
    longest = std::max(longest, line.naturalTextWidth());
  }
  layout_.endLayout();
  size_ = {longest, y};
}

void KLQtTextLayout::draw(QPainter& painter, QPointF topLeft) const {
  painter.setPen(color_);
  layout_.draw(&painter, topLeft);
}

}  // namespace kaleo
