#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "Shop/Cart.h"
#include "Shop/PopupStatus.h"

namespace shop {

/// The foot of the shop: what became of the latest popup, and the way to pay.
class Footer : public QWidget {
 public:
  explicit Footer(QWidget* parent = nullptr);

  QPushButton& payButton() { return *pay_; }
  void setCart(const Cart& cart);
  void setStatus(const PopupStatus::Report& report);
  QString statusText() const { return status_->text(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QLabel* const status_;
  QLabel* const sum_;
  QPushButton* const pay_;
  PopupStatus::Mood mood_ = PopupStatus::Mood::Neutral;
};

}  // namespace shop
