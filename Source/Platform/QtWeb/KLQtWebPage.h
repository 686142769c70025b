#pragma once

#include <QWebEnginePage>

namespace kaleo {

/// A page that opens no dialogs and no windows. Main thread.
class KLQtWebPage final : public QWebEnginePage {
 public:
  using QWebEnginePage::QWebEnginePage;

 protected:
  // Qt's own dialogs would run an event loop inside of the application's.
  void javaScriptAlert(const QUrl&, const QString&) override {}
  bool javaScriptConfirm(const QUrl&, const QString&) override { return false; }
  bool javaScriptPrompt(const QUrl&, const QString&, const QString&, QString*) override { return false; }
  /// A link or script that asks for a new window gets this one.
  QWebEnginePage* createWindow(WebWindowType) override { return this; }
};

}  // namespace kaleo
