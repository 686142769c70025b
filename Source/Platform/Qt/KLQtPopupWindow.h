#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

#include "KLQtOverlay.h"
#include "KLQtWindows.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// A popup window over the application's window, as an overlay in it. Where the application shows no window there is nothing to
/// cover: the popup is told so, from the event loop, as when its window goes. When the application quits it hides by itself and
/// tells nobody; it may then go on any thread.
class KLQtPopupWindow final : public KLPopupWindow {
 public:
  KLQtPopupWindow(std::shared_ptr<KLQtWindows> windows, std::shared_ptr<KLScreen> screen, std::shared_ptr<KLQtPainter> painter);
  ~KLQtPopupWindow() override;

  void show(KLView& root, KLPopupWindowObserver& observer) override;
  void hide() override;
  void requestFrame() override;
  void setNeedsDisplay() override;
  void setNeedsPlacement() override;

 private:
  void reportLossSoon();

  const std::shared_ptr<KLQtWindows> windows_;
  const std::shared_ptr<KLScreen> screen_;
  const std::shared_ptr<KLQtPainter> painter_;
  QPointer<KLQtOverlay> overlay_;
  KLPopupWindowObserver* observer_ = nullptr;  ///< null while hidden
  std::unique_ptr<QObject> shown_;             ///< what waits in the event loop for this showing goes with it
};

/// Gives each window a painter of its own, whose kept texts and pictures go with the popup.
class KLQtPopupWindowFactory final : public KLPopupWindowFactory {
 public:
  KLQtPopupWindowFactory(std::shared_ptr<KLQtWindows> windows, std::shared_ptr<KLScreen> screen, const KLQtSystemFont& font)
      : windows_(std::move(windows)), screen_(std::move(screen)), font_(font) {}

  std::unique_ptr<KLPopupWindow> makeWindow() override {
    return std::make_unique<KLQtPopupWindow>(windows_, screen_, std::make_shared<KLQtPainter>(font_));
  }

 private:
  const std::shared_ptr<KLQtWindows> windows_;
  const std::shared_ptr<KLScreen> screen_;
  const KLQtSystemFont font_;
};

}  // namespace kaleo
