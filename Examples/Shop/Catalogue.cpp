#include "Shop/Catalogue.h"

namespace shop {

const std::vector<Product>& catalogue() {
  static const std::vector<Product> products{
      {"vase-01", "Morning vase", "Ceramics", 64, Picture::Vase},    {"mug-07", "Ember mug", "Ceramics", 18, Picture::Mug},
      {"plant-03", "Agave in clay", "Plants", 46, Picture::Plant},   {"lamp-02", "Arc lamp", "Light", 128, Picture::Lamp},
      {"candle-05", "Beeswax candle", "Light", 22, Picture::Candle}, {"books-04", "Two good books", "Paper", 34, Picture::Books},
  };
  return products;
}

}  // namespace shop
