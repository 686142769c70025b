#pragma once

#include <QString>
#include <vector>

namespace shop {

enum class Picture { Vase, Mug, Plant, Candle, Lamp, Books };

struct Product {
  QString id;
  QString name;
  QString category;
  double price = 0;
  Picture picture = Picture::Vase;
};

/// Everything that the shop sells.
const std::vector<Product>& catalogue();

}  // namespace shop
