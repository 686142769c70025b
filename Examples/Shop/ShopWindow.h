#pragma once

#include <QWidget>
#include <functional>

#include "Shop/Cart.h"
#include "Shop/Footer.h"
#include "Shop/Header.h"
#include "Shop/OfferBanner.h"
#include "Shop/ProductCard.h"

namespace shop {

/// What customers do, as it is told to the analytics library.
struct ShopActions {
  std::function<void(const Product&)> view;
  std::function<void(const Product&)> addToCart;
  std::function<void(const Cart&)> pay;
  std::function<void(const QString& customer)> logIn;
  std::function<void()> logOut;
  std::function<void(const QString& code)> useOffer;
};

/// The shop itself, of a phone's size.
class ShopWindow : public QWidget {
  Q_OBJECT

 public:
  static constexpr int kWidth = 375, kHeight = 812;

  /// `customer` is who is logged in already; empty: nobody.
  ShopWindow(ShopActions actions, const QString& customer);

  void setStatus(const PopupStatus::Report& report) { footer_->setStatus(report); }
  QString statusText() const { return footer_->statusText(); }
  OfferBanner& banner() { return *banner_; }
  ProductCard& card(std::size_t index) { return *cards_.at(index); }
  Header& header() { return *header_; }
  Footer& footer() { return *footer_; }
  const Cart& cart() const { return cart_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QWidget* makePage();
  void add(const Product& product);
  void pay();
  void switchCustomer();

  const ShopActions actions_;
  QString customer_;
  Cart cart_;
  Header* const header_;
  OfferBanner* const banner_;
  Footer* const footer_;
  std::vector<ProductCard*> cards_;
};

}  // namespace shop
