#pragma once

#include <kaleo/KLPlatform.h>

#include <QObject>
#include <filesystem>
#include <functional>
#include <memory>

#include "Nimbra/Nimbra.h"
#include "Shop/BackPane.h"
#include "Shop/PopupStatus.h"
#include "Shop/ShopDelegates.h"
#include "Shop/ShopWindow.h"

namespace shop {

struct ShopOptions {
  std::string server;          ///< base URL of the popup server
  std::filesystem::path data;  ///< where everything is kept; empty: the user's own directories
};

/// The shop with everything behind it: analytics, the popup library, the two windows.
/// Threads: main.
class ShopApplication : public QObject {
  Q_OBJECT

 public:
  /// Starts it all. A QApplication must stand, and be left before this goes.
  explicit ShopApplication(const ShopOptions& options);
  ~ShopApplication() override;

  ShopWindow& window() { return *window_; }
  BackPane& pane() { return *pane_; }

 signals:
  /// `decision`: see PopupStatus::isDecision.
  void logged(const nimbra::LogLine& line, bool decision);
  void tracked(const kaleo::KLValue& record);
  void noted(const QString& what);

 private:
  std::shared_ptr<nimbra::Nimbra> startAnalytics(const kaleo::KLPlatform& platform);
  std::shared_ptr<ShopDelegates> makeDelegates();
  ShopActions makeActions();
  /// Runs `work` later on the main thread, unless the application has gone by then. Any thread.
  void onMain(std::function<void()> work);
  void readLog(const nimbra::LogLine& line);
  void readEvent(const kaleo::KLValue& record);
  void note(const std::string& what);

  std::shared_ptr<nimbra::Nimbra> analytics_;
  std::unique_ptr<ShopWindow> window_;
  std::unique_ptr<BackPane> pane_;
  std::shared_ptr<ShopDelegates> delegates_;
  PopupStatus status_;
};

}  // namespace shop
