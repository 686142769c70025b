#pragma once

#include <QString>

#include "Shop/demo/Stage.h"

namespace shop {

/// A customer's visit, played from a script: what should show has to show, what should be held back has to be held back.
/// Needs the sample campaigns.
class DemoRun {
 public:
  explicit DemoRun(Stage& stage) : stage_(stage) {}

  /// Plays it all and prints a line for each expectation. Answers the process's exit code: 0 when all were met.
  int play();

 private:
  void open();
  void viewFirstProduct();
  void addAtOnce();
  void addExpensiveProduct();
  void viewAnotherProduct();
  void pay();
  void payAgain();
  void logIn();
  void openTestLink();
  void logOut();

  void begin(const QString& title);
  bool expect(bool met, const QString& what);
  void expectPopup(int plan, const QString& picture);
  void expectHeldBack(const QString& reason);
  /// Clicks the popup's main button and expects the popup to close.
  void expectMainButtonCloses(int plan);
  /// Waits until the global interval lets the next popup pass.
  void letIntervalPass();
  ShopWindow& window() { return stage_.application().window(); }

  Stage& stage_;
  int met_ = 0, missed_ = 0;
};

}  // namespace shop
