#pragma once

#include <memory>

#include "KLQtWindows.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// The area of the window that popups cover, in device independent pixels; that of the primary screen before there is a window.
/// What other threads read is a copy that the main thread renews as windows change.
class KLQtScreen final : public KLScreen {
 public:
  explicit KLQtScreen(std::shared_ptr<KLQtWindows> windows);
  KLSize size() const override;
  double scale() const override;

 private:
  struct Copy;
  const std::shared_ptr<KLQtWindows> windows_;
  const std::shared_ptr<Copy> copy_;
};

}  // namespace kaleo
