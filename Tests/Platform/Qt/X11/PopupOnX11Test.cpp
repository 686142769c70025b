#include "X11Stage.h"

#include <QCheckBox>
#include <QLineEdit>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"
#include "Campaign/Popup/Show/KLPopupViewController.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/PictureDownloads.h"

// Whole popups under a real pointer and real keys.
namespace kaleo {
namespace {

using Names = std::vector<std::string>;

/// One of each kind of element, in a column; what is named by an id takes taps.
constexpr const char* kTemplate = R"({"type": "column", "layout": {"width": "200", "align": "center"},
  "properties": {"backgroundColor": {"r": 255, "g": 255, "b": 255, "a": 1}}, "subviews": [
  {"type": "label", "layout": {"width": "180"}, "properties": {"text": "A heading", "font": "14"},
   "action": {"IOS": [{"id": "label", "type": "openlink", "closeable": false}]}},
  {"type": "image", "layout": {"width": "40", "height": "30"}, "properties": {"image": ""},
   "action": {"IOS": [{"id": "picture", "type": "openlink", "closeable": false}]}},
  {"type": "button", "layout": {"width": "180", "height": "40"}, "properties": {"text": "Copy", "font": "14"},
   "action": {"IOS": [{"id": "button", "type": "copy", "value": "CODE", "closeable": false}]}},
  {"type": "link", "layout": {"width": "180", "height": "30"}, "properties": {"text": "More", "font": "14"},
   "action": {"IOS": [{"id": "link", "type": "openlink", "closeable": false}]}},
  {"type": "label", "layout": {"width": "180", "maxHeight": "40"}, "properties": {"font": "14", "scrollableY": true,
   "text": "one\ntwo\nthree\nfour\nfive\nsix\nseven\neight\nnine\nten"}},
  {"type": "image_button", "layout": {"width": "30", "height": "30"},
   "action": {"IOS": [{"id": "cross", "type": "close", "closeable": true}]}}]})";
enum Element { Heading, Picture, CopyButton, MoreLink, Terms, Cross };

/// What one popup's controller tells.
struct Heard final : KLPopupViewControllerDelegate {
  void willShowPopupViewController(KLPopupViewController&) override { notes.push_back("willShow"); }
  void didShowPopupViewController(KLPopupViewController&) override { notes.push_back("didShow"); }
  void willDismissViewController(KLPopupViewController&) override { notes.push_back("willDismiss"); }
  void didDismissViewController(KLPopupViewController&) override { notes.push_back("didDismiss"); }
  void didClickForElement(KLPopupViewController&, KLView& view) override {
    notes.push_back("click " + view.popupActions.front()->objectID.value_or(""));
  }
  bool has(const std::string& note) const { return std::find(notes.begin(), notes.end(), note) != notes.end(); }
  Names notes;
};

class PopupOnX11Test : public X11Stage {
 protected:
  PopupOnX11Test() : edit_(host.get()), box_("a box", host.get()) {
    edit_.setGeometry(10, 5, 80, 30);
    box_.setGeometry(10, 260, 80, 30);
    edit_.setFocus();
    showHost();
    host->raise();
  }
  ~PopupOnX11Test() override {
    for (const auto& made : made_) {
      if (const auto controller = made.lock()) controller->takeDown();
    }
  }

  std::shared_ptr<KLPopupViewController> make(bool maskCloses, std::shared_ptr<Heard> heard) {
    const KLHeadlessScreen screen;
    KLPopupModel popup(*KLJSON::parse(std::string(R"({"properties": {"maskCloseEnabled": )") + (maskCloses ? "true" : "false") +
                                      R"(, "maskActionId": "mask"}, "template": )" + kTemplate + "}"),
                       {screen, downloads_.log, {}});
    popup.element->layoutWithContainerWidth(200, *platform.presentation.textMeasurer);
    const auto pictures = KLPopupPictures::load(popup.element.get(), nullptr, {});
    auto view = popupViewWithElementModel(*popup.element, {downloads_.downloader, pictures});
    auto controller = std::make_shared<KLPopupViewController>(nullptr, std::move(view), platform.presentation);
    controller->maskActions = popup.maskActions;
    controller->delegate = heard;
    made_.push_back(controller);
    return controller;
  }
  /// Shows a popup and lets it come to rest.
  void showPopup(bool maskCloses = true) {
    controller_ = make(maskCloses, heard_);
    controller_->show();
    ASSERT_TRUE(hears("didShow"));
    heard_->notes.clear();
  }
  bool hears(const std::string& note) {
    return runUntil([&] { return heard_->has(note); });
  }
  KLView& element(Element which) { return *controller_->contentView().subviews().at(which); }
  QPointF centreOf(Element which) {
    const KLRect frame = element(which).frameInRoot();
    return {frame.x + frame.width / 2, frame.y + frame.height / 2};
  }
  void click(QPointF point, const QStringList& how = {"click", "1"}) { xdotool(moveTo(point.x(), point.y()) + how); }
  /// A click that reaches the application proves that all input before it has been dealt with.
  void settleInput() {
    const std::size_t before = heard_->notes.size();
    click(centreOf(MoreLink));
    ASSERT_TRUE(runUntil([&] { return heard_->notes.size() > before && heard_->notes.back() == "click link"; }));
    heard_->notes.pop_back();
  }
  /// Nothing of any popup is left, and the host's own input works again.
  void expectHostUntouched() {
    drain();
    EXPECT_EQ(host->findChild<QWidget*>("KaleoPopup"), nullptr);
    EXPECT_TRUE(edit_.hasFocus());
    const bool checked = box_.isChecked();
    click({30, 275});
    EXPECT_TRUE(runUntil([&] { return box_.isChecked() != checked; }));
  }

  QLineEdit edit_;
  QCheckBox box_;
  testing::PictureDownloads downloads_;
  std::shared_ptr<Heard> heard_ = std::make_shared<Heard>();
  std::shared_ptr<KLPopupViewController> controller_;
  std::vector<std::weak_ptr<KLPopupViewController>> made_;
};

const QPointF kOnTheMask{30, 275};

TEST_F(PopupOnX11Test, EachKindOfElementTakesItsTaps) {
  showPopup();
  for (const Element which : {Heading, Picture, CopyButton, Terms}) click(centreOf(which));
  settleInput();
  EXPECT_EQ(heard_->notes, (Names{"click picture", "click button"})) << "texts take none";
  click(centreOf(Cross));
  ASSERT_TRUE(hears("didDismiss"));
  EXPECT_EQ(heard_->notes, (Names{"click picture", "click button", "willDismiss", "click cross", "didDismiss"}));
  controller_.reset();
  expectHostUntouched();
}

TEST_F(PopupOnX11Test, TheMaskClosesOnlyWhereItMay) {
  showPopup(false);
  click(kOnTheMask);
  xdotool({"key", "Escape"});
  settleInput();
  EXPECT_EQ(heard_->notes, Names{});
  EXPECT_FALSE(box_.isChecked()) << "it lies under the mask";
  controller_->takeDown();
  showPopup(true);
  click(kOnTheMask);
  ASSERT_TRUE(hears("didDismiss"));
  EXPECT_EQ(heard_->notes, (Names{"willDismiss", "click mask", "didDismiss"}));
  expectHostUntouched();
}

TEST_F(PopupOnX11Test, AButtonThatIsLeftIsNotTappedAndADoubleClickClosesOnce) {
  showPopup();
  const QPointF button = centreOf(CopyButton);
  xdotool(moveTo(button.x(), button.y()) + QStringList{"mousedown", "1"});
  ASSERT_TRUE(runUntil([&] { return element(CopyButton).highlighted; }));
  xdotool(moveTo(kOnTheMask.x(), kOnTheMask.y()));
  ASSERT_TRUE(runUntil([&] { return !element(CopyButton).highlighted; }));
  xdotool({"mouseup", "1"});
  settleInput();
  EXPECT_EQ(heard_->notes, Names{});
  click(centreOf(Cross), {"click", "--repeat", "2", "--delay", "10", "1"});
  ASSERT_TRUE(hears("didDismiss"));
  EXPECT_EQ(heard_->notes, (Names{"willDismiss", "click cross", "didDismiss"}));
}

TEST_F(PopupOnX11Test, TextScrollsByWheelAndDrag) {
  showPopup();
  const QPointF text = centreOf(Terms);
  const double most = element(Terms).contentHeight - element(Terms).frame.height;
  ASSERT_GT(most, 40);
  click(text, {"click", "5"});
  ASSERT_TRUE(runUntil([&] { return element(Terms).contentOffsetY > 0; }));
  click(text, {"click", "--repeat", "20", "5"});
  ASSERT_TRUE(runUntil([&] { return element(Terms).contentOffsetY == most; }));
  xdotool(moveTo(text.x(), text.y()) + QStringList{"mousedown", "1"} + moveTo(text.x(), text.y() + 30) +
          QStringList{"mouseup", "1"});
  EXPECT_TRUE(runUntil([&] { return std::abs(element(Terms).contentOffsetY - (most - 30)) < 1; }));
  click(text, {"click", "--repeat", "20", "4"});
  EXPECT_TRUE(runUntil([&] { return element(Terms).contentOffsetY == 0; }));
}

/// Counts the releases of a mouse button that reach the application.
class Releases final : public QObject {
 public:
  Releases() { qApp->installEventFilter(this); }
  int count = 0;

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    count += object->isWidgetType() && event->type() == QEvent::MouseButtonRelease;
    return false;
  }
};

TEST_F(PopupOnX11Test, ClicksDuringTheAnimationDoNothing) {
  const Releases releases;
  controller_ = make(true, heard_);
  controller_->animationDuration = 600;  // longer than any machine takes for what follows
  controller_->show();
  click(centreOf(Cross));
  click(kOnTheMask);
  ASSERT_TRUE(runUntil([&] { return releases.count == 2; }));
  EXPECT_EQ(heard_->notes, Names{"willShow"});
  EXPECT_FALSE(box_.isChecked());
}

TEST_F(PopupOnX11Test, KeysWalkTapAndStayInside) {
  showPopup();
  xdotool({"key", "Tab", "Tab", "Return"});
  ASSERT_TRUE(hears("click button"));
  xdotool({"key", "shift+Tab", "shift+Tab", "space"});
  ASSERT_TRUE(hears("didDismiss")) << "from the first element back to the last";
  EXPECT_EQ(edit_.text(), "");
  expectHostUntouched();
}

TEST_F(PopupOnX11Test, FollowsItsWindowAndEndsWithIt) {
  showPopup();
  host->resize(500, 340);
  host->move(160, 120);
  const auto follows = [&] {
    return centreOf(MoreLink).x() == 250 - 100 + element(MoreLink).frame.x + element(MoreLink).frame.width / 2;
  };
  ASSERT_TRUE(runUntil(follows));
  settleInput();  // taps meet the elements where they are now
  host->close();
  ASSERT_TRUE(hears("didDismiss"));
  EXPECT_EQ(heard_->notes, (Names{"willDismiss", "didDismiss"}));
}

TEST_F(PopupOnX11Test, ASecondPopupLiesAboveTheFirst) {
  showPopup();
  const auto second = std::make_shared<Heard>();
  const auto above = make(true, second);
  above->show();
  ASSERT_TRUE(runUntil([&] { return second->has("didShow"); }));
  click(centreOf(Cross));
  ASSERT_TRUE(runUntil([&] { return second->has("didDismiss"); }));
  EXPECT_EQ(heard_->notes, Names{}) << "the first one has not been reached";
  click(centreOf(Cross));
  ASSERT_TRUE(hears("didDismiss"));
  expectHostUntouched();
}

TEST_F(PopupOnX11Test, TheApplicationMayQuitWhileOneIsUp) {
  showPopup();
  click(centreOf(CopyButton), {"mousedown", "1"});
  QObject::connect(qApp, &QCoreApplication::aboutToQuit, host.get(), [this] { controller_->takeDown(); });
  QMetaObject::invokeMethod(
      qApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
  QApplication::exec();
  xdotool({"mouseup", "1"});
  drain();
  EXPECT_FALSE(controller_->isOnScreen());
  EXPECT_FALSE(heard_->has("click button"));
  EXPECT_EQ(host->findChild<QWidget*>("KaleoPopup"), nullptr);
}

}  // namespace
}  // namespace kaleo
