#include "KLQtTextLayout.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QStringList>
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

constexpr QChar kParagraphEnd = QLatin1Char('\n');

QString withParagraphEnds(const std::string& utf8) {
  QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())).left(kLongestText);
  text.replace(QStringLiteral("\r\n"), kParagraphEnd);
  text.replace(QLatin1Char('\r'), kParagraphEnd);
  text.replace(QChar(QChar::ParagraphSeparator), kParagraphEnd);
  return text;
}

QString onOneLine(QString text, const QFont& font, double width) {
  text.replace(kParagraphEnd, QLatin1Char(' '));
  text.replace(QChar(QChar::LineSeparator), QLatin1Char(' '));
  return QFontMetricsF(font).elidedText(text, Qt::ElideRight, width);
}

/// The paragraphs of `text`; those that follow each other in the same direction as one, on lines of their own.
QStringList stretchesOf(const QString& text) {
  QStringList stretches;
  bool wasRightToLeft = false;
  for (const QString& paragraph : text.split(kParagraphEnd)) {
    const bool isRightToLeft = paragraph.isRightToLeft();
    if (!stretches.isEmpty() && isRightToLeft == wasRightToLeft) {
      stretches.back() += QChar(QChar::LineSeparator) + paragraph;
    } else {
      stretches += paragraph;
    }
    wasRightToLeft = isRightToLeft;
  }
  return stretches;
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
  option.setTextDirection(Qt::LayoutDirectionAuto);  // the text's, and not the application's
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
  const QString content = withParagraphEnds(text.text);
  for (const QString& stretch : lines == Lines::One ? QStringList(onOneLine(content, font, lineWidth)) : stretchesOf(content)) {
    QTextLayout& layout = layouts_.emplace_back(stretch, font);
    layout.setTextOption(optionFor(text, lines));
    layout.setCacheEnabled(true);
    breakLines(layout, lineWidth, withinReason(text.lineSpacing) / unit_);
  }
}

void KLQtTextLayout::breakLines(QTextLayout& layout, double width, double lineSpacing) {
  double bottom = size_.height() / unit_;
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    if (line.lineNumber() > 0 || &layout != &layouts_.front()) bottom += lineSpacing;
    line.setLeadingIncluded(true);
    line.setLineWidth(width);
    line.setPosition({0, bottom});
    bottom += line.ascent() + line.descent() + line.leading();  // its height() would be rounded up
    size_.rwidth() = std::max(size_.width(), line.naturalTextWidth() * unit_);
  }
  layout.endLayout();
  size_.setHeight(bottom * unit_);
}

void KLQtTextLayout::draw(QPainter& painter, QPointF origin, const QRectF& visible) const {
  painter.save();
  painter.translate(origin);
  painter.scale(unit_, unit_);
  const QRectF clip((visible.topLeft() - origin) / unit_, visible.size() / unit_);
  for (const QTextLayout& layout : layouts_) layout.draw(&painter, {0, 0}, {}, clip);
  painter.restore();
}

}  // namespace kaleo
