#include "Shop/Footer.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include "Shop/Palette.h"
#include "Shop/ProductCard.h"

namespace shop {
namespace {

constexpr int kInset = 16, kDot = 8, kStatusHeight = 38, kPayWidth = 132, kPayHeight = 44;

QColor colourOf(PopupStatus::Mood mood) {
  switch (mood) {
    case PopupStatus::Mood::Shown:
      return kGreen;
    case PopupStatus::Mood::HeldBack:
      return kAmber;
    case PopupStatus::Mood::Neutral:
      break;
  }
  return kMuted;
}

}  // namespace

Footer::Footer(QWidget* parent) : QWidget(parent), status_(new QLabel), sum_(new QLabel), pay_(new QPushButton("Pay")) {
  status_->setFont(face(12));
  status_->setWordWrap(true);
  status_->setFixedHeight(kStatusHeight);
  status_->setStyleSheet("color:" + kMuted.name());
  sum_->setFont(face(17, QFont::DemiBold));
  sum_->setStyleSheet("color:" + kInk.name());
  dress(*pay_, ButtonStyle::Filled, kPayHeight);
  pay_->setFixedWidth(kPayWidth);

  auto* const bar = new QHBoxLayout;
  bar->addWidget(sum_, 1);
  bar->addWidget(pay_);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(kInset, 8, kInset, 16);
  column->setSpacing(6);
  auto* const statusRow = new QHBoxLayout;
  statusRow->setContentsMargins(kDot + 10, 0, 0, 0);
  statusRow->addWidget(status_);
  column->addLayout(statusRow);
  column->addLayout(bar);
  setCart({});
}

void Footer::setCart(const Cart& cart) {
  const QString items = cart.items() == 1 ? "1 item" : QString("%1 items").arg(cart.items());
  sum_->setText(cart.items() == 0 ? "Your cart is empty"
                                  : QString("%1 <span style='color:%2;font-size:13px;font-weight:400'>&nbsp;%3</span>")
                                        .arg(price(cart.amount()), kMuted.name(), items));
  sum_->setFont(cart.items() == 0 ? face(14) : face(18, QFont::DemiBold));
  pay_->setEnabled(cart.items() > 0);
}

void Footer::setStatus(const PopupStatus::Report& report) {
  mood_ = report.mood;
  status_->setText(QString::fromStdString(report.text));
  update();
}

void Footer::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(rect(), kWhite);
  painter.fillRect(QRect(0, 0, width(), 1), kLine);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colourOf(mood_));
  painter.drawEllipse(QPointF(kInset + kDot / 2.0, status_->geometry().center().y() + 0.5), kDot / 2.0, kDot / 2.0);
}

}  // namespace shop
