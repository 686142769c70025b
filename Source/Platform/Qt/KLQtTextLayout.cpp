#include "KLQtTextLayout.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QTextOption>
#include <algorithm>
#include <cmath>

namespace kaleo {
namespace {

/// Larger letters than any screen shows cost only memory.
constexpr double kLargestFontSize = 2000;
/// In UTF-16 units. A longer text takes a noticeable time to break into lines and nobody reads it in a popup.
constexpr qsizetype kLongestText = 32 * 1024;
/// In points; what Qt's fixed-point line widths can hold with room to spare.
constexpr double kWidestLine = 1e6;
/// In points, between letters or lines.
constexpr double kWidestSpacing = 1e4;
/// The smallest size, in points: below it the layout's units would be beyond its numbers, and nothing is to be seen.
constexpr double kSmallestFontSize = 0.1;

bool hasSize(const KLAttributedText& text) { return std::isfinite(text.fontSize) && text.fontSize >= kSmallestFontSize; }

double finiteOrZero(double value) { return std::isfinite(value) ? value : 0; }

double withinReason(double spacing) { return std::clamp(finiteOrZero(spacing), -kWidestSpacing, kWidestSpacing); }

QString withLineSeparators(const std::string& utf8) {
  QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())).left(kLongestText);
  text.replace(QStringLiteral("\r\n"), QChar(QChar::LineSeparator));
  text.replace(QLatin1Char('\n'), QChar::LineSeparator);
  text.replace(QLatin1Char('\r'), QChar::LineSeparator);
  text.replace(QChar(QChar::ParagraphSeparator), QChar(QChar::LineSeparator));
  return text;
}

QString onOneLine(QString text, const QFont& font, double width) {
  text.replace(QChar(QChar::LineSeparator), QLatin1Char(' '));
  return QFontMetricsF(font).elidedText(text, Qt::ElideRight, width);
}

Qt::Alignment alignmentOf(KLTextAlignment alignment) {
  switch (alignment) {
    case KLTextAlignment::Center:
      return Qt::AlignHCenter;
    case KLTextAlignment::Right:
      return Qt::AlignRight | Qt::AlignAbsolute;
    case KLTextAlignment::Left:
      break;
  }
  return Qt::AlignLeft | Qt::AlignAbsolute;
}

QTextOption optionFor(const KLAttributedText& text, KLQtTextLayout::Lines lines) {
  QTextOption option(lines == KLQtTextLayout::Lines::One ? Qt::AlignHCenter : alignmentOf(text.alignment));
  option.setWrapMode(lines == KLQtTextLayout::Lines::One ? QTextOption::NoWrap : QTextOption::WrapAtWordBoundaryOrAnywhere);
  option.setUseDesignMetrics(true);
  return option;
}

}  // namespace

KLQtSystemFont::KLQtSystemFont() : font_(QGuiApplication::font()) {
  font_.setHintingPreference(QFont::PreferNoHinting);
  font_.setStyleStrategy(static_cast<QFont::StyleStrategy>(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
  font_.setWeight(QFont::Normal);
  font_.setStyle(QFont::StyleNormal);
}

QFont KLQtSystemFont::ofSize(int pixelSize) const {
  QFont font = font_;
  font.setPixelSize(pixelSize);
  return font;
}

KLQtTextLayout::KLQtTextLayout(const KLQtSystemFont& systemFont, const KLAttributedText& text, double width, Lines lines) {
  if (!hasSize(text) || text.text.empty()) return;
  const double fontSize = std::min(text.fontSize, kLargestFontSize);
  const int pixelSize = std::max(1, static_cast<int>(std::lround(fontSize)));
  unit_ = fontSize / pixelSize;
  const double lineWidth = std::clamp(finiteOrZero(width), 0.0, kWidestLine) / unit_;
  QFont font = systemFont.ofSize(pixelSize);
  font.setLetterSpacing(QFont::AbsoluteSpacing, withinReason(text.kerning) / unit_);
  font.setUnderline(text.underline);
  const QString content = withLineSeparators(text.text);
  layout_.setText(lines == Lines::One ? onOneLine(content, font, lineWidth) : content);
  layout_.setFont(font);
  layout_.setTextOption(optionFor(text, lines));
  layout_.setCacheEnabled(true);
  breakLines(lineWidth, withinReason(text.lineSpacing) / unit_);
}

void KLQtTextLayout::breakLines(double width, double lineSpacing) {
  double top = 0;
  layout_.beginLayout();
  for (QTextLine line = layout_.createLine(); line.isValid(); line = layout_.createLine()) {
    if (line.lineNumber() > 0) top += lineSpacing;
    line.setLeadingIncluded(true);
    line.setLineWidth(width);
    line.setPosition({0, top});
    top += line.ascent() + line.descent() + line.leading();  // its height() would be rounded up
    size_.rwidth() = std::max(size_.width(), line.naturalTextWidth() * unit_);
  }
  layout_.endLayout();
  size_.setHeight(top * unit_);
}

void KLQtTextLayout::draw(QPainter& painter, QPointF origin, const QRectF& visible) const {
  if (layout_.lineCount() == 0) return;
  painter.save();
  painter.translate(origin);
  painter.scale(unit_, unit_);
  layout_.draw(&painter, {0, 0}, {}, QRectF((visible.topLeft() - origin) / unit_, visible.size() / unit_));
  painter.restore();
}

}  // namespace kaleo
