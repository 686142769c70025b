#include "KLQtScreen.h"

#include <QGuiApplication>
#include <QScreen>
#include <mutex>

namespace kaleo {

struct KLQtScreen::Copy {
  mutable std::mutex mutex;
  KLSize size;       // guarded by `mutex`
  double scale = 1;  // guarded by `mutex`

  void renew(QSizeF newSize, double newScale) {
    std::lock_guard lock(mutex);
    size = {newSize.width(), newSize.height()};
    scale = newScale;
  }
};

KLQtScreen::KLQtScreen(std::shared_ptr<KLQtWindows> windows) : windows_(std::move(windows)), copy_(std::make_shared<Copy>()) {
  windows_->observe([copy = copy_](const KLQtWindows& all) {
    if (const QWidget* window = all.hostWindow()) {
      copy->renew(window->size(), window->devicePixelRatioF());
    } else if (const QScreen* screen = QGuiApplication::primaryScreen()) {
      copy->renew(screen->size(), screen->devicePixelRatio());
    }
  });
}

KLSize KLQtScreen::size() const {
  std::lock_guard lock(copy_->mutex);
  return copy_->size;
}

double KLQtScreen::scale() const {
  std::lock_guard lock(copy_->mutex);
  return copy_->scale;
}

}  // namespace kaleo
