#include "Shop/Header.h"

#include <QPainter>
#include <QPainterPath>

#include "Shop/Palette.h"
#include "Shop/ProductCard.h"

namespace shop {
namespace {

constexpr int kHeight = 68, kInset = 16, kAccountWidth = 78, kAccountHeight = 32, kCartWidth = 44;

/// The shop's sign: an arched window above a sill.
void drawSign(QPainter& painter, const QRectF& area) {
  QPainterPath arch;
  arch.moveTo(area.left(), area.bottom());
  arch.lineTo(area.left(), area.center().y());
  arch.arcTo(QRectF(area.left(), area.top(), area.width(), area.height()), 180, -180);
  arch.lineTo(area.right(), area.bottom());
  arch.closeSubpath();
  QLinearGradient sky(area.topLeft(), area.bottomLeft());
  sky.setColorAt(0, kCoral.lighter(125));
  sky.setColorAt(1, QColor(0xFF, 0xD9, 0xA8));
  painter.fillPath(arch, sky);
  painter.setPen(QPen(kWhite, 2));
  painter.drawLine(QPointF(area.center().x(), area.top()), QPointF(area.center().x(), area.bottom()));
  painter.drawLine(QPointF(area.left(), area.center().y() + 2), QPointF(area.right(), area.center().y() + 2));
  painter.setPen(Qt::NoPen);
  painter.setBrush(kInk);
  painter.drawRoundedRect(QRectF(area.left() - 4, area.bottom(), area.width() + 8, 4), 2, 2);
}

void drawBag(QPainter& painter, QPointF centre) {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(kInk, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawRoundedRect(QRectF(centre.x() - 10, centre.y() - 5, 20, 16), 3, 3);
  painter.drawArc(QRectF(centre.x() - 5, centre.y() - 12, 10, 14), 0, 180 * 16);
  painter.setPen(Qt::NoPen);
}

void drawBadge(QPainter& painter, QPointF centre, int count) {
  const QString text = count > 99 ? "99+" : QString::number(count);
  painter.setFont(face(11, QFont::Bold));
  const double width = std::max(18.0, painter.fontMetrics().horizontalAdvance(text) + 10.0);
  const QRectF pill(centre.x() - width / 2, centre.y() - 9, width, 18);
  painter.setPen(QPen(kPaper, 2));
  painter.setBrush(kCoral);
  painter.drawRoundedRect(pill, 9, 9);
  painter.setPen(kWhite);
  painter.drawText(pill, Qt::AlignCenter, text);
}

}  // namespace

Header::Header(QWidget* parent) : QWidget(parent), account_(new QPushButton(this)) {
  setFixedHeight(kHeight);
  dress(*account_, ButtonStyle::Plain, kAccountHeight);
  setCustomer({});
}

void Header::setCustomer(const QString& name) {
  account_->setText(name.isEmpty() ? "Log in" : "Log out");
  account_->setToolTip(name.isEmpty() ? "Log in as Ada" : name + " is logged in");
}

void Header::resizeEvent(QResizeEvent*) {
  account_->setGeometry(width() - kInset - kCartWidth - kAccountWidth, (kHeight - kAccountHeight) / 2, kAccountWidth,
                        kAccountHeight);
}

void Header::setItems(int count) {
  items_ = count;
  update();
}

void Header::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  drawSign(painter, QRectF(kInset + 4, 20, 22, 26));
  painter.setPen(kInk);
  painter.setFont(face(20, QFont::Bold));
  painter.drawText(QRect(kInset + 40, 0, 180, kHeight), Qt::AlignLeft | Qt::AlignVCenter, "Sill & Shelf");
  drawBag(painter, QPointF(width() - kInset - 14, kHeight / 2.0 + 1));
  if (items_ > 0) drawBadge(painter, QPointF(width() - kInset - 4, kHeight / 2.0 - 10), items_);
}

}  // namespace shop
