#pragma once

#include <QPainter>

#include "Shop/Catalogue.h"

namespace shop {

/// Draws a product's picture over the whole of `area`, background included.
void drawProduct(QPainter& painter, const QRectF& area, Picture picture);

}  // namespace shop
