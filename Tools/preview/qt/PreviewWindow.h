#pragma once

#include <QLabel>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "kaleo/KLPlatform.h"
#include "preview/Preview.h"
#include "preview/PreviewController.h"
#include "preview/qt/FileWatch.h"

namespace kaleo::tools {

/// A window that stands for a screen and shows the popup of a file, anew whenever the file, one of its pictures or the window's
/// size changes. The popup lives: it scrolls, moves and takes taps. What is wrong, and what a tap does, stands in a strip at the
/// bottom; what is wrong is written to standard error, too. Main thread.
class PreviewWindow final : public QWidget {
 public:
  PreviewWindow(PreviewArguments arguments, const PreviewOutput& output);
  ~PreviewWindow() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  class Listener;

  void reload();
  void present(const PreviewDocument& document);
  void takeDown();
  void note(const std::string& text);
  void tapped(const KLView& view);
  void dismissed();
  void showStrip();
  void placeStrip();

  const PreviewArguments arguments_;
  const PreviewOutput output_;
  const PreviewHost host_;
  KLPlatform platform_;  ///< its presentation and its main queue
  std::unique_ptr<PreviewPictures> pictures_;
  FileWatch watch_;
  QTimer resized_;
  QLabel strip_;

  std::shared_ptr<Listener> listener_;
  std::weak_ptr<KLPopupViewController> controller_;
  bool shownBefore_ = false;  ///< later popups stand at once, so that changes can be seen
  std::string fault_;         ///< why the file cannot be shown; then the popup before it stays
  std::vector<std::string> notes_;
  std::string lastTap_;
};

}  // namespace kaleo::tools
