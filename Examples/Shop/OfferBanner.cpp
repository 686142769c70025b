#include "Shop/OfferBanner.h"

#include <QBuffer>
#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>

#include "Shop/Palette.h"
#include "Shop/ProductCard.h"

namespace shop {
namespace {

constexpr int kHeroHeight = 164, kGapBelow = 14, kHeight = 308, kRadius = 16, kInset = 16, kButtonHeight = 34;
constexpr int kFetchMilliseconds = 10000;
constexpr qint64 kMaxPictureBytes = 8 << 20;
constexpr int kMaxPictureSide = 4096;

QPixmap decoded(QByteArray bytes) {
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer);
  const QSize size = reader.size();
  if (size.width() > kMaxPictureSide || size.height() > kMaxPictureSide) return {};
  return QPixmap::fromImageReader(&reader);
}

}  // namespace

OfferBanner::OfferBanner(QWidget* parent) : QWidget(parent), button_(new QPushButton(this)) {
  setFixedHeight(kHeight);
  dress(*button_, ButtonStyle::Filled, kButtonHeight);
  connect(button_, &QPushButton::clicked, this, [this] {
    hide();
    emit used(code_);
  });
  hide();
}

bool OfferBanner::present(const QByteArray& content) {
  const QJsonObject offer = QJsonDocument::fromJson(content).object();
  if (!offer["title"].isString()) return false;
  title_ = offer["title"].toString();
  message_ = offer["message"].toString();
  code_ = offer["code"].toString();
  button_->setText(offer["button"]["text"].toString("Use it"));
  button_->adjustSize();
  button_->move(kInset, kHeight - kGapBelow - kInset - kButtonHeight);
  picture_ = {};
  fetchPicture(QUrl(offer["image"].toString()));
  show();
  return true;
}

void OfferBanner::fetchPicture(const QUrl& url) {
  QNetworkRequest request(url);
  request.setTransferTimeout(kFetchMilliseconds);
  QNetworkReply* const reply = network_.get(request);
  connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
    if (received > kMaxPictureBytes) reply->abort();
  });
  connect(reply, &QNetworkReply::finished, this, [this, reply] {
    reply->deleteLater();
    if (reply->error() == QNetworkReply::NoError) picture_ = decoded(reply->readAll());
    update();
    emit pictureSettled();
  });
}

void OfferBanner::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  QPainterPath shape;
  shape.addRoundedRect(QRectF(0, 0, width(), kHeight - kGapBelow).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
  painter.fillPath(shape, kWhite);
  painter.save();
  painter.setClipPath(shape);
  const QRect hero(0, 0, width(), kHeroHeight);
  painter.fillRect(hero, kInk);
  if (!picture_.isNull()) {
    const QSize scaled = picture_.size().scaled(hero.size(), Qt::KeepAspectRatioByExpanding);
    painter.setClipRect(hero, Qt::IntersectClip);
    painter.drawPixmap(QRect(QPoint((width() - scaled.width()) / 2, (kHeroHeight - scaled.height()) / 2), scaled), picture_);
  }
  painter.restore();
  painter.setPen(QPen(kLine, 1));
  painter.drawPath(shape);
  const int textWidth = width() - 2 * kInset;
  painter.setPen(kInk);
  painter.setFont(face(16, QFont::DemiBold));
  painter.drawText(QRect(kInset, kHeroHeight + 12, textWidth, 22), Qt::AlignLeft | Qt::AlignVCenter, title_);
  painter.setPen(kMuted);
  painter.setFont(face(12));
  painter.drawText(QRect(kInset, kHeroHeight + 37, textWidth, 36), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, message_);
}

}  // namespace shop
