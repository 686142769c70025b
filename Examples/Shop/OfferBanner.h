#pragma once

#include <QNetworkAccessManager>
#include <QPixmap>
#include <QPushButton>
#include <QWidget>

namespace shop {

/// A customised campaign, shown by the shop in its own style at the head of its page. Hidden until there is one.
class OfferBanner : public QWidget {
  Q_OBJECT

 public:
  explicit OfferBanner(QWidget* parent = nullptr);

  /// Shows the offer that `content` describes: a JSON object with "title", "message", "code", "image" (a URL) and "button".
  /// Answers whether it was one.
  bool present(const QByteArray& content);
  QPushButton& button() { return *button_; }
  bool hasPicture() const { return !picture_.isNull(); }

 signals:
  void used(const QString& code);
  /// The picture has come, or will not.
  void pictureSettled();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void fetchPicture(const QUrl& url);

  QNetworkAccessManager network_;
  QPushButton* const button_;
  QString title_, message_, code_;
  QPixmap picture_;
};

}  // namespace shop
