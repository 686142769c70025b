#include "Campaign/Popup/Show/KLPopupViewController.h"

#include <gtest/gtest.h>

#include "Support/PopupStage.h"

namespace kaleo {
namespace {

using Kind = KLView::Kind;
using Names = std::vector<std::string>;

struct Delegate : KLPopupViewControllerDelegate {
  void willShowPopupViewController(KLPopupViewController&) override { notes.push_back("willShow"); }
  void didShowPopupViewController(KLPopupViewController&) override { notes.push_back("didShow"); }
  void willDismissViewController(KLPopupViewController&) override { notes.push_back("willDismiss"); }
  void didDismissViewController(KLPopupViewController&) override { notes.push_back("didDismiss"); }
  void didClickForElement(KLPopupViewController&, KLView& view) override {
    notes.push_back("click " + view.elementModel->typeName.value_or("none"));
  }
  Names notes;
};

class KLPopupViewControllerTest : public ::testing::Test {
 protected:
  using Type = KLPopupActionType;

  ~KLPopupViewControllerTest() override {
    if (const auto controller = weak.lock()) controller->takeDown();
  }
  static std::shared_ptr<KLPopupActionModel> action(Type type, bool closeable, std::optional<KLValue> value = {}) {
    auto made = std::make_shared<KLPopupActionModel>();
    made->type = type;
    made->closeable = closeable;
    made->value = std::move(value);
    return made;
  }
  static std::unique_ptr<KLView> makeView(Kind kind, KLRect frame, KLPopupActionModel::List actions = {}) {
    auto view = std::make_unique<KLView>(kind);
    view->frame = frame;
    view->userInteractionEnabled = kind == Kind::Button;
    const auto element = std::make_shared<KLPopupElementModel>();
    element->typeName = kind == Kind::Button ? "button" : "image";
    view->elementModel = element;
    view->popupActions = std::move(actions);
    return view;
  }
  KLView& add(Kind kind, KLRect frame, KLPopupActionModel::List actions = {}) {
    return content->addSubview(makeView(kind, frame, std::move(actions)));
  }
  std::shared_ptr<KLPopupViewController> make() {
    auto controller = std::make_shared<KLPopupViewController>(nullptr, std::move(content), stage.presentation());
    controller->delegate = delegate;
    controller->maskActions = maskActions;
    weak = controller;
    return controller;
  }
  /// Shows the popup and lets it come to rest; the content lies at (87.5, 286).
  void show() {
    make()->show();
    stage.settle();
    delegate->notes.clear();
  }
  /// Taps a point of the content.
  void tap(double x, double y) { stage.window().tap(at(x, y)); }
  static KLPoint at(double x, double y) { return {87.5 + x, 286 + y}; }

  testing::PopupStage stage;
  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
  std::unique_ptr<KLView> content = makeView(Kind::Plain, {0, 0, 200, 200});
  KLPopupActionModel::List maskActions{action(Type::Close, true)};
  std::weak_ptr<KLPopupViewController> weak;
};

TEST_F(KLPopupViewControllerTest, StandsCentredAboveByTheSafeArea) {
  const auto controller = make();
  controller->show();
  EXPECT_EQ(controller->contentView().frame, (KLRect{87.5, 286, 200, 200})) << "20 above the centre";
  stage.window().layout({400, 600}, 44);
  EXPECT_EQ(controller->contentView().frame, (KLRect{100, 156, 200, 200})) << "44 above the centre";
  stage.window().layout({400, 600}, 0);
  EXPECT_EQ(controller->contentView().frame, (KLRect{100, 200, 200, 200})) << "no safe area any more";
}

TEST_F(KLPopupViewControllerTest, ComesAndGoesAndTellsItsDelegateInOrder) {
  {
    const auto controller = make();
    controller->maskColor = {0, 0, 0, 0.5};
    controller->show();
    EXPECT_EQ(delegate->notes, Names{"willShow"});
    EXPECT_EQ(controller->contentView().alpha, 0);
    EXPECT_EQ(stage.window().root()->backgroundColor->alpha, 0);
  }
  stage.threading.advance(0.2);
  EXPECT_EQ(delegate->notes, Names{"willShow"});
  stage.threading.advance(0.2);
  EXPECT_EQ(delegate->notes, (Names{"willShow", "didShow"}));
  EXPECT_FALSE(stage.window().isFrameRequested()) << "nothing moves any more";
  EXPECT_EQ(weak.lock()->contentView().alpha, 1);
  EXPECT_EQ(stage.window().root()->backgroundColor, (KLColor{0, 0, 0, 0.5}));

  weak.lock()->dismiss();
  stage.threading.advance(0.2);
  EXPECT_EQ(delegate->notes, (Names{"willShow", "didShow", "willDismiss"}));
  EXPECT_TRUE(stage.isPopupOnScreen());
  stage.threading.advance(0.2);
  EXPECT_EQ(delegate->notes, (Names{"willShow", "didShow", "willDismiss", "didDismiss"}));
  EXPECT_FALSE(stage.isPopupOnScreen());
  EXPECT_TRUE(weak.expired()) << "nobody keeps it any more";
}

TEST_F(KLPopupViewControllerTest, TwoDismissalsAreTwoWhenTheyComeTogetherOrApart) {
  show();
  const auto controller = weak.lock();
  controller->dismiss();
  stage.threading.advance(0.1);
  controller->dismiss();
  stage.settle();
  EXPECT_EQ(delegate->notes, (Names{"willDismiss", "willDismiss", "didDismiss", "didDismiss"}));
  controller->dismiss();
  EXPECT_EQ(delegate->notes.size(), 6u) << "once more, without a window";
}

TEST_F(KLPopupViewControllerTest, DismissalWhileAppearingTellsBothEnds) {
  make()->show();
  stage.threading.advance(0.1);
  weak.lock()->dismiss();
  stage.settle();
  EXPECT_EQ(delegate->notes, (Names{"willShow", "willDismiss", "didShow", "didDismiss"}));
  EXPECT_TRUE(weak.expired());
}

TEST_F(KLPopupViewControllerTest, ALostWindowEndsThePopupAtOnce) {
  make()->show();
  stage.threading.advance(0.1);
  stage.window().lose();
  EXPECT_EQ(delegate->notes, (Names{"willShow", "didShow", "willDismiss", "didDismiss"}));
  EXPECT_TRUE(weak.expired());

  content = makeView(Kind::Plain, {0, 0, 200, 200});
  show();
  weak.lock()->dismiss();
  stage.window().lose();
  EXPECT_EQ(delegate->notes, (Names{"willDismiss", "didDismiss"}));
  EXPECT_TRUE(weak.expired());
}

TEST_F(KLPopupViewControllerTest, TakenDownItTellsNobody) {
  show();
  weak.lock()->takeDown();
  stage.settle();
  EXPECT_TRUE(delegate->notes.empty());
  EXPECT_TRUE(weak.expired());
  EXPECT_FALSE(stage.isPopupOnScreen());
}

TEST_F(KLPopupViewControllerTest, AButtonIsHighlightedWhileHeldAndClicksWhenLetGoInside) {
  KLView& button = add(Kind::Button, {20, 20, 50, 30}, {action(Type::OpenLink, false, "https://e.com")});
  show();
  auto& window = stage.window();
  window.pointer(KLPointerPhase::Down, at(30, 30));
  EXPECT_TRUE(button.highlighted);
  window.pointer(KLPointerPhase::Move, at(100, 100));
  EXPECT_FALSE(button.highlighted);
  window.pointer(KLPointerPhase::Up, at(100, 100));
  EXPECT_TRUE(delegate->notes.empty()) << "dragged off";
  window.pointer(KLPointerPhase::Down, at(100, 100));
  window.pointer(KLPointerPhase::Up, at(30, 30));
  EXPECT_TRUE(delegate->notes.empty()) << "went down elsewhere";
  window.pointer(KLPointerPhase::Down, at(30, 30));
  window.pointer(KLPointerPhase::Cancel, at(30, 30));
  window.pointer(KLPointerPhase::Up, at(30, 30));
  EXPECT_TRUE(delegate->notes.empty()) << "cancelled";
  tap(30, 30);
  EXPECT_EQ(delegate->notes, Names{"click button"});
  EXPECT_FALSE(button.highlighted);
}

TEST_F(KLPopupViewControllerTest, PicturesWithActionsTakeTapsAndThoseWithoutDoNot) {
  add(Kind::ImageView, {0, 0, 50, 50}, {action(Type::OpenLink, true)});
  add(Kind::ImageView, {60, 0, 50, 50});
  show();
  tap(70, 10);
  EXPECT_TRUE(delegate->notes.empty()) << "and the mask is not reached through the content";
  tap(10, 10);
  EXPECT_EQ(delegate->notes, (Names{"willDismiss", "click image"})) << "actions run before the report";
}

TEST_F(KLPopupViewControllerTest, EveryActionRunsAndTheFirstDecidesTheReport) {
  add(Kind::Button, {0, 0, 20, 20}, {action(Type::Copy, true, "text"), action(Type::Close, true)});
  add(Kind::Button, {20, 0, 20, 20}, {action(Type::Other, true), action(Type::Copy, false, 12)});
  add(Kind::Button, {40, 0, 20, 20}, {action(Type::Close, false)});
  add(Kind::Button, {60, 0, 20, 20}, {action(Type::Copy, true, "kept")});
  add(Kind::Button, {80, 0, 20, 20});
  show();
  tap(70, 10);
  EXPECT_EQ(stage.pasteboard->string(), "kept");
  EXPECT_EQ(delegate->notes, Names{"click button"}) << "a copy never closes";
  delegate->notes.clear();
  for (const double x : {30.0, 50.0, 90.0}) tap(x, 10);
  EXPECT_EQ(stage.pasteboard->string(), "12");
  EXPECT_TRUE(delegate->notes.empty());
  tap(10, 10);
  EXPECT_EQ(stage.pasteboard->string(), "text");
  EXPECT_EQ(delegate->notes, (Names{"willDismiss", "click button"}));
}

TEST_F(KLPopupViewControllerTest, TapsDuringMovementsDoNothing) {
  add(Kind::Button, {0, 0, 20, 20}, {action(Type::OpenLink, false)});
  make()->show();
  tap(10, 10);
  stage.window().key(KLKey::Escape);
  stage.settle();
  EXPECT_EQ(delegate->notes, (Names{"willShow", "didShow"}));
}

TEST_F(KLPopupViewControllerTest, TheMaskClosesWhenItsFirstActionMay) {
  show();
  stage.window().tap({5, 5});
  EXPECT_EQ(delegate->notes, (Names{"willDismiss", "click mask"}));
}

TEST_F(KLPopupViewControllerTest, AMaskThatMayNotCloseTakesNoTaps) {
  maskActions = {action(Type::Close, false), action(Type::Close, true)};
  show();
  stage.window().tap({5, 5});
  stage.window().key(KLKey::Escape);
  EXPECT_TRUE(delegate->notes.empty());
}

TEST_F(KLPopupViewControllerTest, AMaskWithAnotherFirstActionRunsThem) {
  maskActions = {action(Type::Other, false), action(Type::Close, true)};
  show();
  stage.window().tap({5, 5});
  EXPECT_EQ(delegate->notes, Names{"willDismiss"}) << "run, but not reported";
}

TEST_F(KLPopupViewControllerTest, TextScrollsByDragWheelAndKeysWithinItsBounds) {
  KLView& text = add(Kind::TextView, {0, 0, 100, 50});
  text.contentHeight = 300;
  show();
  auto& window = stage.window();
  window.pointer(KLPointerPhase::Down, at(10, 40));
  window.pointer(KLPointerPhase::Move, at(10, 10));
  EXPECT_EQ(text.contentOffsetY, 30);
  window.pointer(KLPointerPhase::Move, at(10, 60));
  EXPECT_EQ(text.contentOffsetY, 0);
  window.pointer(KLPointerPhase::Up, at(10, 10));
  window.pointer(KLPointerPhase::Move, at(10, 0));
  EXPECT_EQ(text.contentOffsetY, 0) << "let go";
  window.scroll(at(10, 10), 70);
  EXPECT_EQ(text.contentOffsetY, 70);
  window.scroll(at(150, 150), 70);
  EXPECT_EQ(text.contentOffsetY, 70) << "not over the text";
  window.key(KLKey::PageDown);
  EXPECT_EQ(text.contentOffsetY, 120);
  window.key(KLKey::Up);
  EXPECT_EQ(text.contentOffsetY, 80);
  window.scroll(at(10, 10), 1e9);
  EXPECT_EQ(text.contentOffsetY, 250);
  text.contentHeight = 20;
  window.key(KLKey::Down);
  EXPECT_EQ(text.contentOffsetY, 0);
}

TEST_F(KLPopupViewControllerTest, KeysWalkTheTappableViewsAndTapTheFocusedOne) {
  KLView& first = add(Kind::ImageView, {0, 0, 20, 20}, {action(Type::OpenLink, false)});
  add(Kind::Button, {20, 0, 20, 20});
  KLView& second = add(Kind::Button, {40, 0, 20, 20}, {action(Type::Copy, false, "c")});
  show();
  auto& window = stage.window();
  window.key(KLKey::Activate);
  EXPECT_TRUE(delegate->notes.empty()) << "nothing has the focus";
  window.key(KLKey::Tab);
  EXPECT_TRUE(first.focused);
  window.key(KLKey::Tab);
  EXPECT_TRUE(second.focused && !first.focused);
  window.key(KLKey::Tab);
  EXPECT_TRUE(first.focused) << "round again";
  window.key(KLKey::BackTab);
  EXPECT_TRUE(second.focused);
  window.key(KLKey::Activate);
  EXPECT_EQ(delegate->notes, Names{"click button"});
  window.key(KLKey::Escape);
  EXPECT_EQ(delegate->notes.back(), "click mask");
}

TEST_F(KLPopupViewControllerTest, FramesAreAskedForOnlyWhileAPictureMoves) {
  KLView& view = add(Kind::ImageView, {0, 0, 20, 20});
  show();
  EXPECT_FALSE(stage.window().isFrameRequested());
  const auto displays = stage.window().displays();
  view.image = std::make_shared<testing::SketchImage>(std::vector{0.1, 0.1});
  view.setNeedsDisplay();
  EXPECT_TRUE(stage.window().isFrameRequested());
  stage.threading.advance(0.15);
  EXPECT_EQ(view.currentFrame, 1u);
  EXPECT_GT(stage.window().displays(), displays + 1);
  view.image = nullptr;
  stage.threading.advance(0.1);
  EXPECT_FALSE(stage.window().isFrameRequested());
}

TEST_F(KLPopupViewControllerTest, SlidingInFollowsANewLayout) {
  const auto controller = make();
  controller->animationType = KLPopupAnimationType::FromBottom;
  controller->show();
  EXPECT_EQ(controller->contentView().transform.translateY, 812 - 286);
  stage.window().layout({375, 600}, 0);
  EXPECT_EQ(controller->contentView().transform.translateY, 600 - 180);
  stage.settle();
  EXPECT_EQ(controller->contentView().transform, KLView::Transform{});
  controller->dismiss();
}

}  // namespace
}  // namespace kaleo
