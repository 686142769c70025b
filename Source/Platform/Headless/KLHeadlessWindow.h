#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/Headless/KLHeadlessPresentation.h"

namespace kaleo {

/// A popup window that nobody sees: a tool or a test plays its user. Main thread only.
///
/// Frames come on the main queue, a sixtieth of a second apart; their time counts frames and reads no clock, so that animations run
/// the same on every machine and on virtual time.
class KLHeadlessWindow final : public KLPopupWindow {
 public:
  static constexpr double kFrameSeconds = 1.0 / 60;

  /// What a factory and its windows share.
  struct Desk {
    std::shared_ptr<KLQueue> mainQueue;
    std::shared_ptr<KLScreen> screen;
    double safeAreaTop = 0;
    std::vector<KLHeadlessWindow*> visible;  ///< in the order shown
  };

  explicit KLHeadlessWindow(std::shared_ptr<Desk> desk) : desk_(std::move(desk)) {}
  ~KLHeadlessWindow() override { hide(); }

  void show(KLView& root, KLPopupWindowObserver& observer) override;
  void hide() override;
  void requestFrame() override;
  void setNeedsDisplay() override { ++displays_; }

  /// What the user does. Nothing happens while the window is hidden; the window may be gone afterwards.
  void layout(KLSize bounds, double safeAreaTop);
  void pointer(KLPointerPhase phase, KLPoint point);
  /// A pointer that goes down and up at `point`.
  void tap(KLPoint point);
  void scroll(KLPoint point, double deltaY);
  void key(KLKey key);
  /// The covered window goes away.
  void lose();

  /// The tree shown; null while hidden.
  KLView* root() const { return root_; }
  /// How often the tree asked to be drawn again.
  std::uint64_t displays() const { return displays_; }
  bool isFrameRequested() const { return frameRequested_; }

 private:
  void frame();

  std::shared_ptr<Desk> desk_;
  KLView* root_ = nullptr;
  KLPopupWindowObserver* observer_ = nullptr;
  bool frameRequested_ = false;
  std::uint64_t frames_ = 0;
  std::uint64_t displays_ = 0;
  /// Ends with the window, and is replaced when it hides: a frame asked for before does not come afterwards.
  std::shared_ptr<KLHeadlessWindow*> self_;
};

/// Makes such windows and tells which one is on top. Main thread only.
class KLHeadlessWindowFactory final : public KLPopupWindowFactory {
 public:
  KLHeadlessWindowFactory(std::shared_ptr<KLQueue> mainQueue, std::shared_ptr<KLScreen> screen);
  std::unique_ptr<KLPopupWindow> makeWindow() override;

  /// The window shown last of those on screen; null when there is none.
  KLHeadlessWindow* windowOnScreen() const;
  std::size_t windowsOnScreen() const { return desk_->visible.size(); }
  /// Points that the system covers at the top of windows shown from now on. Default: 0.
  void setSafeAreaTop(double points) { desk_->safeAreaTop = points; }

 private:
  std::shared_ptr<KLHeadlessWindow::Desk> desk_;
};

}  // namespace kaleo
