#pragma once

#include "Shop/Catalogue.h"

namespace shop {

/// What the customer is about to buy.
class Cart {
 public:
  void add(const Product& product) { ++items_, amount_ += product.price; }
  void clear() { items_ = 0, amount_ = 0; }
  int items() const { return items_; }
  double amount() const { return amount_; }

 private:
  int items_ = 0;
  double amount_ = 0;
};

}  // namespace shop
