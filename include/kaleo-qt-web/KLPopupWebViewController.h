#pragma once

#include <QWidget>
#include <string>

#include "kaleo/KLExport.h"

class QToolBar;
class QWebEngineView;

namespace kaleo {

/// A page of the web inside of the application, such as one that a popup's link names. The library shows it nowhere by itself; an
/// application does, as a window of its own or inside of another widget:
///
///     auto* page = new kaleo::KLPopupWebViewController("https://shop.example.com/terms");
///     page->setAttribute(Qt::WA_DeleteOnClose);
///     page->show();
///
/// The page is loaded when the controller is shown for the first time, and anew after it was closed. As a window of its own, and as
/// the only page of a QStackedWidget, it has a button "关闭" that closes it; further inside, the application's own navigation does.
///
/// The page runs in Qt WebEngine's processes and cannot hold up the application: its dialogs (alert, confirm, prompt) are answered
/// without being shown, what it would open in a window of its own opens in its place, and one that cannot be had leaves the
/// engine's own message. Only http and https are loaded; another URL, or none, leaves the page white.
///
/// Threads: the main thread. Before the QApplication goes, so must every controller.
class KALEO_API KLPopupWebViewController : public QWidget {
 public:
  explicit KLPopupWebViewController(std::string linkURLString, QWidget* parent = nullptr);
  ~KLPopupWebViewController() override;

  const std::string& linkURLString() const { return linkURLString_; }
  /// Ownership: the controller's.
  QWebEngineView* webView() const { return webView_; }

  /// What "关闭" does, and a page that closes itself: a window of its own fades out, where windows can, and is closed; as the only
  /// page of a QStackedWidget, that one. Inside of anything else the controller alone is closed, at once.
  void closeAction();

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  QWidget& dismissed();
  void load();
  void unload();

  const std::string linkURLString_;
  QToolBar* const bar_;
  QWebEngineView* const webView_;
  bool loaded_ = false;
  bool closing_ = false;
};

}  // namespace kaleo
