#pragma once

#include <QPushButton>
#include <QWidget>

namespace shop {

/// The head of the shop: its name, the customer's account, and the cart with the number of items in it.
class Header : public QWidget {
 public:
  explicit Header(QWidget* parent = nullptr);

  QPushButton& accountButton() { return *account_; }
  /// `name` is empty when nobody is logged in.
  void setCustomer(const QString& name);
  void setItems(int count);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QPushButton* const account_;
  int items_ = 0;
};

}  // namespace shop
