#include "Shop/ProductArt.h"

#include <QLinearGradient>
#include <QPainterPath>

#include "Shop/Palette.h"

namespace shop {
namespace {

// Pictures are drawn on a board of 160 by 120 units, the table's edge at 92.
constexpr double kBoardWidth = 160, kBoardHeight = 120, kTable = 92;

const QColor kLeaf{0x4E, 0x8A, 0x76}, kLeafDark{0x2F, 0x5E, 0x54}, kLeafLight{0x86, 0xB0, 0x9A};
const QColor kClay{0xD0, 0x86, 0x5F}, kClayDark{0xB0, 0x66, 0x45}, kPorcelain{0xFB, 0xF7, 0xF2}, kPorcelainShade{0xD9, 0xCB, 0xBE};

QLinearGradient across(double left, double right, const QColor& from, const QColor& to) {
  QLinearGradient gradient(left, 0, right, 0);
  gradient.setColorAt(0, from);
  gradient.setColorAt(1, to);
  return gradient;
}

void drawRoom(QPainter& painter, const QColor& wall, const QColor& table) {
  painter.fillRect(QRectF(0, 0, kBoardWidth, kTable), wall);
  painter.fillRect(QRectF(0, kTable, kBoardWidth, kBoardHeight - kTable), table);
}

void drawShadow(QPainter& painter, double centre, double baseline, double width) {
  painter.setBrush(QColor(0x22, 0x30, 0x3C, 28));
  painter.drawEllipse(QPointF(centre + 4, baseline), width / 2, 4);
}

/// A leaf from `root` to `tip`, `width` units across, with its darker half on the right.
void drawLeaf(QPainter& painter, QPointF root, QPointF tip, double width, const QColor& light, const QColor& dark) {
  const QPointF along = tip - root;
  const QPointF side = QPointF(-along.y(), along.x()) / std::hypot(along.x(), along.y()) * width;
  const QPointF middle = root + along * 0.45;
  for (const bool right : {false, true}) {
    QPainterPath half(root);
    half.quadTo(right ? middle - side : middle + side, tip);
    half.lineTo(root);
    painter.fillPath(half, right ? dark : light);
  }
}

void drawTwig(QPainter& painter, QPointF root, QPointF tip) {
  painter.setPen(QPen(kLeafDark, 1.4, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(root, tip);
  painter.setPen(Qt::NoPen);
  const QPointF along = tip - root;
  for (int i = 0; i < 4; ++i) {
    const QPointF at = root + along * (0.4 + 0.17 * i);
    const double reach = 13 - 1.5 * i;
    drawLeaf(painter, at, at + QPointF(-reach, -reach * 0.55), 4, kLeafLight, kLeaf);
    drawLeaf(painter, at, at + QPointF(reach, -reach * 0.55), 4, kLeaf, kLeafDark);
  }
  drawLeaf(painter, root + along * 0.92, tip + along * 0.14, 4, kLeafLight, kLeaf);
}

void drawVase(QPainter& painter) {
  drawRoom(painter, {0xFC, 0xE9, 0xDD}, {0xF0, 0xC9, 0xAF});
  drawTwig(painter, {78, 54}, {58, 18});
  drawTwig(painter, {80, 54}, {82, 12});
  drawTwig(painter, {82, 54}, {106, 22});
  drawShadow(painter, 80, 105, 56);
  QPainterPath body(QPointF(72, 50));
  body.cubicTo(72, 64, 56, 66, 56, 84);
  body.cubicTo(56, 100, 66, 106, 80, 106);
  body.cubicTo(94, 106, 104, 100, 104, 84);
  body.cubicTo(104, 66, 88, 64, 88, 50);
  body.closeSubpath();
  painter.fillPath(body, across(60, 104, kPorcelain, kPorcelainShade));
  painter.setClipPath(body);
  painter.setPen(QPen(kCoral, 4));
  painter.drawArc(QRectF(50, 66, 60, 18), 180 * 16, 180 * 16);
  painter.setPen(QPen(kCoral, 1.4));
  painter.drawArc(QRectF(50, 73, 60, 18), 180 * 16, 180 * 16);
  painter.setClipping(false);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x8A, 0x62, 0x4E));
  painter.drawEllipse(QPointF(80, 50), 8, 2.4);
}

void drawMug(QPainter& painter) {
  drawRoom(painter, {0xE3, 0xEE, 0xEA}, {0xC4, 0xDA, 0xD2});
  drawShadow(painter, 78, 105, 62);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(kCoralDark, 7));
  painter.drawEllipse(QPointF(106, 76), 13, 13);
  painter.setPen(Qt::NoPen);
  QPainterPath body;
  body.moveTo(50, 52);
  body.lineTo(104, 52);
  body.lineTo(104, 92);
  body.quadTo(104, 106, 90, 106);
  body.lineTo(64, 106);
  body.quadTo(50, 106, 50, 92);
  body.closeSubpath();
  painter.fillPath(body, across(50, 104, kCoral.lighter(112), kCoralDark));
  painter.setBrush(kCoral.lighter(120));
  painter.drawEllipse(QPointF(77, 52), 27, 6);
  painter.setBrush(QColor(0x5A, 0x34, 0x28));
  painter.drawEllipse(QPointF(77, 52.6), 23, 4.2);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(255, 255, 255, 190), 2.4, Qt::SolidLine, Qt::RoundCap));
  for (const double x : {66.0, 78.0, 90.0}) {
    QPainterPath steam(QPointF(x, 42));
    steam.cubicTo(x - 8, 34, x + 8, 28, x, 18);
    painter.drawPath(steam);
  }
}

void drawPlant(QPainter& painter) {
  drawRoom(painter, {0xF3, 0xEE, 0xDF}, {0xE0, 0xD3, 0xB6});
  drawShadow(painter, 80, 107, 54);
  const QPointF root(80, 72);
  drawLeaf(painter, root, {34, 52}, 12, kLeaf, kLeafDark);
  drawLeaf(painter, root, {126, 50}, 12, kLeaf, kLeafDark);
  drawLeaf(painter, root, {46, 24}, 14, kLeafLight, kLeaf);
  drawLeaf(painter, root, {114, 22}, 14, kLeafLight, kLeaf);
  drawLeaf(painter, root, {80, 6}, 16, kLeafLight, kLeafDark);
  drawLeaf(painter, root, {62, 34}, 10, kLeaf, kLeafDark);
  drawLeaf(painter, root, {98, 34}, 10, kLeaf, kLeafDark);
  QPainterPath pot;
  pot.addPolygon(QPolygonF({{58, 76}, {102, 76}, {96, 108}, {64, 108}}));
  painter.fillPath(pot, across(58, 102, kClay, kClayDark));
  painter.setBrush(across(54, 106, kClay.lighter(108), kClay));
  painter.drawRoundedRect(QRectF(54, 68, 52, 11), 2, 2);
}

void drawCandle(QPainter& painter) {
  drawRoom(painter, {0x3B, 0x4A, 0x57}, {0x2C, 0x39, 0x45});
  QRadialGradient glow(QPointF(80, 36), 56);
  glow.setColorAt(0, QColor(255, 205, 120, 170));
  glow.setColorAt(1, QColor(255, 205, 120, 0));
  painter.fillRect(QRectF(0, 0, kBoardWidth, kBoardHeight), glow);
  painter.setBrush(QColor(0xC9, 0xA4, 0x6A));
  painter.drawRoundedRect(QRectF(50, 102, 60, 6), 3, 3);
  painter.setBrush(across(64, 96, {0xFF, 0xE9, 0xBF}, {0xE3, 0xBC, 0x7C}));
  painter.drawRoundedRect(QRectF(64, 56, 32, 47), 4, 4);
  painter.setBrush(QColor(0xFF, 0xF4, 0xD8));
  painter.drawEllipse(QPointF(80, 57), 16, 4);
  painter.setPen(QPen(kInk, 1.8));
  painter.drawLine(QPointF(80, 56), QPointF(80, 49));
  painter.setPen(Qt::NoPen);
  QPainterPath flame(QPointF(80, 20));
  flame.cubicTo(92, 36, 89, 51, 80, 51);
  flame.cubicTo(71, 51, 68, 36, 80, 20);
  painter.fillPath(flame, QColor(0xF5, 0x9E, 0x3D));
  painter.setBrush(QColor(0xFF, 0xF1, 0xB8));
  painter.drawEllipse(QPointF(80, 43), 4, 7);
}

void drawLamp(QPainter& painter) {
  drawRoom(painter, {0xFD, 0xEF, 0xD9}, {0xF1, 0xD6, 0xA9});
  QPainterPath light;
  light.addPolygon(QPolygonF({{88, 52}, {128, 52}, {150, kTable}, {66, kTable}}));
  painter.fillPath(light, QColor(255, 250, 214, 170));
  drawShadow(painter, 52, 107, 46);
  painter.setBrush(kInk);
  painter.drawRoundedRect(QRectF(32, 102, 40, 6), 3, 3);
  painter.setPen(QPen(kInk, 3.2, Qt::SolidLine, Qt::RoundCap));
  painter.setBrush(Qt::NoBrush);
  QPainterPath stem(QPointF(52, 102));
  stem.cubicTo(48, 40, 60, 14, 86, 14);
  stem.cubicTo(102, 14, 108, 22, 108, 30);
  painter.drawPath(stem);
  painter.setPen(Qt::NoPen);
  QPainterPath shade(QPointF(84, 54));
  shade.cubicTo(86, 24, 130, 24, 132, 54);
  shade.closeSubpath();
  painter.fillPath(shade, across(84, 132, kGreen.lighter(115), kLeafDark));
  painter.setBrush(QColor(0xFF, 0xF4, 0xC4));
  painter.drawEllipse(QPointF(108, 54), 24, 3);
}

void drawBook(QPainter& painter, const QRectF& cover, const QColor& colour) {
  painter.setBrush(across(cover.left(), cover.right(), colour.lighter(110), colour.darker(112)));
  painter.drawRoundedRect(cover, 3, 3);
  painter.setBrush(QColor(0xFB, 0xF3, 0xE6));
  painter.drawRect(QRectF(cover.right() - 14, cover.top() + 3, 14, cover.height() - 6));
  painter.setBrush(QColor(0xF3, 0xCB, 0x7A));
  painter.drawRect(QRectF(cover.left() + 12, cover.top(), 3, cover.height()));
}

void drawBooks(QPainter& painter) {
  drawRoom(painter, {0xE8, 0xE6, 0xF0}, {0xCF, 0xCB, 0xDF});
  drawShadow(painter, 78, 107, 92);
  drawBook(painter, {32, 88, 94, 19}, kGreen);
  drawBook(painter, {40, 70, 82, 18}, kCoral);
  painter.setBrush(across(60, 98, kPorcelain, kPorcelainShade));
  painter.drawEllipse(QPointF(79, 52), 19, 18);
  drawLeaf(painter, {79, 36}, {66, 12}, 6, kLeafLight, kLeaf);
  drawLeaf(painter, {79, 36}, {96, 14}, 6, kLeaf, kLeafDark);
}

void draw(QPainter& painter, Picture picture) {
  switch (picture) {
    case Picture::Vase:
      return drawVase(painter);
    case Picture::Mug:
      return drawMug(painter);
    case Picture::Plant:
      return drawPlant(painter);
    case Picture::Candle:
      return drawCandle(painter);
    case Picture::Lamp:
      return drawLamp(painter);
    case Picture::Books:
      return drawBooks(painter);
  }
}

}  // namespace

void drawProduct(QPainter& painter, const QRectF& area, Picture picture) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setClipRect(area, Qt::IntersectClip);
  painter.translate(area.topLeft());
  painter.scale(area.width() / kBoardWidth, area.height() / kBoardHeight);
  painter.setPen(Qt::NoPen);
  draw(painter, picture);
  painter.restore();
}

}  // namespace shop
