#include "Platform/Headless/KLHeadlessWindow.h"

#include <algorithm>

#include "kaleo/KLView.h"

namespace kaleo {

void KLHeadlessWindow::show(KLView& root, KLPopupWindowObserver& observer) {
  hide();
  root_ = &root;
  observer_ = &observer;
  self_ = std::make_shared<KLHeadlessWindow*>(this);
  desk_->visible.push_back(this);
  layout(desk_->screen->size(), desk_->safeAreaTop);
}

void KLHeadlessWindow::hide() {
  std::erase(desk_->visible, this);
  self_.reset();
  observer_ = nullptr;
  root_ = nullptr;
  frameRequested_ = false;
}

void KLHeadlessWindow::requestFrame() {
  if (frameRequested_ || !observer_) return;
  frameRequested_ = true;
  desk_->mainQueue->asyncAfter(kFrameSeconds, [window = std::weak_ptr(self_)] {
    if (const auto self = window.lock()) (*self)->frame();
  });
}

void KLHeadlessWindow::frame() {
  frameRequested_ = false;
  observer_->windowFrame(static_cast<double>(++frames_) * kFrameSeconds);
}

void KLHeadlessWindow::layout(KLSize bounds, double safeAreaTop) {
  if (!observer_) return;
  root_->frame = {0, 0, bounds.width, bounds.height};
  observer_->windowDidLayout(bounds, safeAreaTop);
}

void KLHeadlessWindow::pointer(KLPointerPhase phase, KLPoint point) {
  if (observer_) observer_->windowPointer(phase, point);
}

void KLHeadlessWindow::tap(KLPoint point) {
  const std::weak_ptr window = self_;
  pointer(KLPointerPhase::Down, point);
  if (!window.expired()) pointer(KLPointerPhase::Up, point);
}

void KLHeadlessWindow::scroll(KLPoint point, double deltaY) {
  if (observer_) observer_->windowScroll(point, deltaY);
}

void KLHeadlessWindow::key(KLKey key) {
  if (observer_) observer_->windowKey(key);
}

void KLHeadlessWindow::lose() {
  if (observer_) observer_->windowLost();
}

KLHeadlessWindowFactory::KLHeadlessWindowFactory(std::shared_ptr<KLQueue> mainQueue, std::shared_ptr<KLScreen> screen)
    : desk_(std::make_shared<KLHeadlessWindow::Desk>(KLHeadlessWindow::Desk{std::move(mainQueue), std::move(screen), 0, {}})) {}

std::unique_ptr<KLPopupWindow> KLHeadlessWindowFactory::makeWindow() { return std::make_unique<KLHeadlessWindow>(desk_); }

KLHeadlessWindow* KLHeadlessWindowFactory::windowOnScreen() const {
  return desk_->visible.empty() ? nullptr : desk_->visible.back();
}

}  // namespace kaleo
