#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

namespace kaleo {

/// Watches the application's top-level windows and knows which of them a popup is for. Main thread.
class KLQtWindows final : public QObject {
 public:
  /// To be released on any thread; the object itself goes on the main thread.
  static std::shared_ptr<KLQtWindows> watch();
  ~KLQtWindows() override;

  /// The window that popups cover: the modal one, else the active one, else the one that was active last, else the largest that is
  /// shown. A tool window, a menu or a tip stands for the window that it belongs to. Null while the application shows none.
  QWidget* hostWindow() const;
  /// The application's own windows that are shown now, minimised ones included.
  static std::vector<QWidget*> shownWindows();

  /// `changed` runs now and from the event loop after any window has been shown, hidden, resized, moved to another screen,
  /// minimised or activated, and after the application's state has changed; several changes may come as one.
  void observe(std::function<void(const KLQtWindows&)> changed);

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  KLQtWindows();
  void changeSoon();
  void notify();

  QPointer<QWidget> lastActive_;
  std::vector<std::function<void(const KLQtWindows&)>> observers_;
  bool pending_ = false;  ///< a change is on its way through the event loop
};

}  // namespace kaleo
