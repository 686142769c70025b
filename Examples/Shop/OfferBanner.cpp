#include "Shop/OfferBanner.h"

#include <QBuffer>
#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLinearGradient>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>

#include "Shop/Palette.h"
#include "Shop/ProductCard.h"

namespace shop {
namespace {

constexpr int kHeight = 176, kRadius = 16, kInset = 16, kButtonHeight = 32;
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
  button_->move(kInset, kHeight - kInset - kButtonHeight);
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
  shape.addRoundedRect(rect(), kRadius, kRadius);
  painter.setClipPath(shape);
  painter.fillRect(rect(), kInk);
  if (!picture_.isNull()) {
    const QSize scaled = picture_.size().scaled(size(), Qt::KeepAspectRatioByExpanding);
    painter.drawPixmap(QRect(QPoint(width() - scaled.width(), (height() - scaled.height()) / 2), scaled), picture_);
  }
  QLinearGradient veil(0, 0, width(), 0);
  veil.setColorAt(0, QColor(0x1B, 0x27, 0x32, 240));
  veil.setColorAt(0.55, QColor(0x1B, 0x27, 0x32, 205));
  veil.setColorAt(1, QColor(0x1B, 0x27, 0x32, 70));
  painter.fillRect(rect(), veil);
  painter.setPen(kWhite);
  painter.setFont(face(17, QFont::DemiBold));
  painter.drawText(QRect(kInset, kInset, width() - 2 * kInset, 24), Qt::AlignLeft | Qt::AlignVCenter, title_);
  painter.setFont(face(13));
  painter.setPen(QColor(255, 255, 255, 215));
  painter.drawText(QRect(kInset, kInset + 32, 230, 66), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, message_);
}

}  // namespace shop
