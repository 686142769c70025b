#include "Shop/ProductCard.h"

#include <QPainter>
#include <QPainterPath>

#include "Shop/Palette.h"
#include "Shop/ProductArt.h"

namespace shop {
namespace {

constexpr int kWidth = 165, kHeight = 226, kPictureHeight = 124, kRadius = 14, kInset = 12, kButtonHeight = 32;

}  // namespace

void dress(QPushButton& button, ButtonStyle style, int height) {
  const bool filled = style == ButtonStyle::Filled;
  button.setFixedHeight(height);
  button.setCursor(Qt::PointingHandCursor);
  button.setFont(face(height > 40 ? 15 : 12, QFont::DemiBold));
  button.setStyleSheet(QString("QPushButton{border:none;border-radius:%1px;padding:0 10px;color:%2;background:%3}"
                               "QPushButton:hover{background:%4}QPushButton:pressed{background:%5}"
                               "QPushButton:disabled{background:%6;color:#A9B0B6}"
                               "QPushButton:focus{outline:none}")
                           .arg(height / 2)
                           .arg((filled ? kWhite : kInk).name(), (filled ? kCoral : kSand).name(),
                                (filled ? kCoral.lighter(106) : kLine).name(), (filled ? kCoralDark : kLine.darker(106)).name(),
                                kSand.name()));
}

ProductCard::ProductCard(const Product& product, QWidget* parent)
    : QWidget(parent), product_(product), view_(new QPushButton("View", this)), add_(new QPushButton("Add to cart", this)) {
  setFixedSize(kWidth, kHeight);
  dress(*view_, ButtonStyle::Plain, kButtonHeight);
  dress(*add_, ButtonStyle::Filled, kButtonHeight);
  constexpr int kViewWidth = 50, kGap = 6;
  view_->setGeometry(kInset - 2, kHeight - kInset - kButtonHeight, kViewWidth, kButtonHeight);
  const int addLeft = view_->x() + kViewWidth + kGap;
  add_->setGeometry(addLeft, view_->y(), kWidth - kInset + 2 - addLeft, kButtonHeight);
  view_->setAccessibleName("View " + product_.name);
  add_->setAccessibleName("Add " + product_.name + " to cart");
  connect(view_, &QPushButton::clicked, this, [this] { emit viewed(product_); });
  connect(add_, &QPushButton::clicked, this, [this] { emit added(product_); });
}

void ProductCard::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath card;
  card.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
  painter.fillPath(card, kWhite);
  painter.save();
  painter.setClipPath(card);
  drawProduct(painter, QRectF(0, 0, kWidth, kPictureHeight), product_.picture);
  painter.restore();
  painter.setPen(QPen(kLine, 1));
  painter.drawPath(card);
  painter.setPen(kInk);
  painter.setFont(face(14, QFont::DemiBold));
  const QRect line(kInset, kPictureHeight + 10, kWidth - 2 * kInset, 20);
  painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, product_.name);
  painter.setFont(face(12));
  painter.setPen(kMuted);
  painter.drawText(line.translated(0, 20), Qt::AlignLeft | Qt::AlignVCenter, product_.category);
  painter.setPen(kCoralDark);
  painter.setFont(face(13, QFont::DemiBold));
  painter.drawText(line.translated(0, 20), Qt::AlignRight | Qt::AlignVCenter, price(product_.price));
}

}  // namespace shop
