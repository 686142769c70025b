#pragma once

#include "Campaign/Popup/Model/KLPopupJSON.h"
#include "kaleo/KLGeometry.h"

namespace kaleo {

enum class KLPopupAlign { Left = 0, Center = 1, Right = 2 };

/// Where an element lies: what its "layout" says, and what laying out makes of it. In points; a width between 0 and 1 is a fraction
/// of the container until it is laid out.
class KLPopupLayoutModel {
 public:
  KLPopupLayoutModel() = default;
  /// `dictionary` is an object.
  KLPopupLayoutModel(const KLValue& dictionary, const KLPopupReading& reading);

  KLPopupAlign align = KLPopupAlign::Left;
  KLEdgeInsets margin, padding;
  double width = 0, height = 0;
  double maxHeight = 0;
  double x = 0, y = 0;  ///< computed, relative to the parent; never read

  KLRect frame() const { return {x, y, width, height}; }
};

}  // namespace kaleo
