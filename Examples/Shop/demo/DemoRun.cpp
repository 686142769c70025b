#include "Shop/demo/DemoRun.h"

#include <kaleo/Kaleo.h>

#include <QClipboard>
#include <QGuiApplication>
#include <cstdio>

#include "Shop/Palette.h"

namespace shop {
namespace {

constexpr double kPatience = 15;          ///< seconds for anything that takes a moment
constexpr double kIntervalMargin = 0.05;  ///< seconds; a window has ended only after its last moment
const QColor kCopyButton{253, 240, 234};  ///< of the welcome card
constexpr std::size_t kVase = 0, kMug = 1, kLamp = 3;
constexpr QPoint kOnTheMask{20, 90};

QString planText(int plan) { return QString::number(plan); }

}  // namespace

int DemoRun::play() {
  open();
  viewFirstProduct();
  addAtOnce();
  addExpensiveProduct();
  viewAnotherProduct();
  pay();
  payAgain();
  logIn();
  openTestLink();
  logOut();
  std::printf("\n%d of %d expectations met\n", met_, met_ + missed_);
  return missed_ == 0 ? 0 : 1;
}

void DemoRun::begin(const QString& title) {
  stage_.forget();
  std::printf("\n%s\n", title.toUtf8().constData());
  std::fflush(stdout);
}

bool DemoRun::expect(bool met, const QString& what) {
  ++(met ? met_ : missed_);
  std::printf("  %s %s\n", met ? "[ok]    " : "[MISSED]", what.toUtf8().constData());
  std::fflush(stdout);
  return met;
}

void DemoRun::expectPopup(int plan, const QString& picture) {
  const QString number = planText(plan);
  const bool shown = stage_.until([&] { return stage_.noteHas("popup " + number + " is on screen"); }, kPatience);
  expect(shown, "campaign " + number + " shows its popup");
  const auto displayed = [&] { return stage_.tracked("$PlanPopupDisplay", "\"" + number + "\"") == 1; };
  expect(stage_.until(displayed, kPatience), "its display is tracked once");
  stage_.untilStill();
  stage_.takePicture(window(), picture);
}

void DemoRun::expectHeldBack(const QString& reason) {
  const auto said = [&] { return window().statusText().contains(reason); };
  expect(stage_.until(said, kPatience), "the shop says why nothing shows: " + reason);
  expect(!stage_.noteHas("is on screen"), "no popup is on screen");
}

void DemoRun::expectMainButtonCloses(int plan) {
  const auto button = stage_.find(kCoralDark);
  if (!expect(button.has_value(), "the popup's main button is found")) return;
  stage_.click(*button);
  const auto closed = [&] { return stage_.noteHas("popup " + planText(plan) + " is closed"); };
  expect(stage_.until(closed, kPatience), "a click on it closes the popup");
  const auto tracked = [&] { return stage_.tracked("$PlanPopupClick", "\"" + planText(plan) + "\"") >= 1; };
  expect(stage_.until(tracked, kPatience), "the click is tracked");
}

void DemoRun::letIntervalPass() {
  stage_.until([&] { return !stage_.popupUnderWay(); }, kPatience);
  stage_.untilTime(stage_.globalIntervalEnd() + kIntervalMargin);
}

void DemoRun::open() {
  begin("The shop opens");
  expect(stage_.until([&] { return stage_.logHas("Set popup config for trigger"); }, kPatience), "campaigns are fetched");
  expect(stage_.until([&] { return window().isVisible(); }, kPatience), "the window is open");
  stage_.takePicture(window(), "01-shop");
}

void DemoRun::viewFirstProduct() {
  begin("The customer looks at a vase");
  stage_.click(window().card(kVase).viewButton());
  expectPopup(101, "02-welcome-card");
  expect(stage_.logHas("Plan 101 with high priority had been trigged, current plan: 105"), "campaign 105 stands back behind it");
  if (const auto copy = stage_.find(kCopyButton)) stage_.click(*copy);
  const auto copied = [] { return QGuiApplication::clipboard()->text() == "HELLO10"; };
  expect(stage_.until(copied, kPatience), "a click on the code copies it");
  stage_.takePicture(window(), "03-code-copied");
  expect(!stage_.noteHas("is closed"), "and leaves the popup on screen");
  expectMainButtonCloses(101);
}

void DemoRun::addAtOnce() {
  begin("The customer puts the vase into the cart at once");
  stage_.click(window().card(kVase).addButton());
  expectHeldBack("another popup was on screen a moment ago");
  stage_.takePicture(window(), "04-held-back");
}

void DemoRun::addExpensiveProduct() {
  letIntervalPass();
  begin("Later, the customer puts a lamp above 100 into the cart");
  stage_.click(window().card(kLamp).addButton());
  expectPopup(106, "05-free-shipping");
  expect(stage_.logHas("Plan 106 with high priority had been trigged, current plan: 102"), "campaign 102 stands back behind it");
  expectMainButtonCloses(106);
}

void DemoRun::viewAnotherProduct() {
  letIntervalPass();
  begin("Later, the customer looks at a mug");
  stage_.click(window().card(kMug).viewButton());
  expectPopup(105, "06-ask-us");
  expect(stage_.logHas("Interval window check rule for plan: 101  does not satisfy"),
         "campaign 101 is held back: it showed before");
  stage_.click(kOnTheMask);
  const auto closed = [&] { return stage_.noteHas("popup 105 is closed"); };
  expect(stage_.until(closed, kPatience), "a click beside the popup closes it");
}

void DemoRun::pay() {
  letIntervalPass();
  begin("Later, the customer pays");
  stage_.click(window().footer().payButton());
  expectPopup(103, "07-spring-sale");
  expectMainButtonCloses(103);
  const auto converted = [&] { return stage_.logHas("convert result is: YES"); };
  expect(stage_.until(converted, kPatience), "the server reports that campaign 103 worked");
}

void DemoRun::payAgain() {
  begin("The customer buys something else at once");
  stage_.click(window().card(kMug).addButton());
  expectHeldBack("another popup was on screen a moment ago");
  stage_.click(window().footer().payButton());
  expectHeldBack("No popup after Pay");
}

void DemoRun::logIn() {
  letIntervalPass();
  begin("Later, the customer logs in");
  stage_.click(window().header().accountButton());
  const auto shown = [&] { return window().banner().isVisible() && window().banner().hasPicture(); };
  expect(stage_.until(shown, kPatience), "campaign 104 is shown by the shop itself, with its picture");
  expect(stage_.until([&] { return stage_.tracked("$PlanPopupDisplay", "\"104\"") == 1; }, kPatience),
         "its display is tracked once");
  stage_.takePicture(window(), "08-offer-of-the-shop");
  stage_.click(window().banner().button());
  expect(stage_.until([&] { return stage_.tracked("UseOffer", "CIRCLE15") == 1; }, kPatience), "the offer can be used");
}

void DemoRun::openTestLink() {
  begin("A marketer opens a test link");
  expect(kaleo::Kaleo::handleOpenURL("shop://popupwindow?kl_popup_test=true&popup_window_id=102"), "the link is taken");
  expect(stage_.until([&] { return stage_.noteHas("test popup is on screen"); }, kPatience),
         "its popup shows whatever the rules say");
  stage_.untilStill();
  stage_.takePicture(window(), "09-test-popup");
  if (const auto button = stage_.find(kCoralDark)) stage_.click(*button);
  expect(stage_.until([&] { return stage_.noteHas("test popup is closed"); }, kPatience), "a click on its main button closes it");
}

void DemoRun::logOut() {
  begin("The customer logs out and leaves");
  stage_.click(window().header().accountButton());
  expect(stage_.until([&] { return stage_.logHas("Set popup config for trigger"); }, kPatience),
         "the campaigns of the user are gone");
  stage_.takePicture(window(), "10-shop-afterwards");
  BackPane& pane = stage_.application().pane();
  pane.grab();  // lays it out, so that there is an end to scroll to
  pane.list().scrollToBottom();
  stage_.takePicture(pane, "11-behind-the-counter");
}

}  // namespace shop
