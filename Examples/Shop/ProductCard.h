#pragma once

#include <QPushButton>
#include <QWidget>

#include "Shop/Catalogue.h"

namespace shop {

/// One product in the shop's grid: picture, name, price, and the buttons View and Add to cart.
class ProductCard : public QWidget {
  Q_OBJECT

 public:
  explicit ProductCard(const Product& product, QWidget* parent = nullptr);

  QPushButton& viewButton() { return *view_; }
  QPushButton& addButton() { return *add_; }

 signals:
  void viewed(const shop::Product& product);
  void added(const shop::Product& product);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Product product_;
  QPushButton* const view_;
  QPushButton* const add_;
};

/// A button in the shop's style: filled with coral, or plain on sand.
enum class ButtonStyle { Filled, Plain };
void dress(QPushButton& button, ButtonStyle style, int height);

}  // namespace shop
