#pragma once

#include "KLQtTextLayout.h"
#include "kaleo/KLAttributedText.h"

namespace kaleo {

/// Measures with the very layout that the painter draws. Any thread.
class KLQtTextMeasurer final : public KLTextMeasurer {
 public:
  explicit KLQtTextMeasurer(KLQtSystemFont font) : font_(std::move(font)) {}

  KLSize measure(const KLAttributedText& text, double width) const override {
    const QSizeF size = KLQtTextLayout(font_, text, width).size();
    return {size.width(), size.height()};
  }

 private:
  const KLQtSystemFont font_;
};

}  // namespace kaleo
