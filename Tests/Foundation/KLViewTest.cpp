#include "kaleo/KLView.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

using Kind = KLView::Kind;

class KLViewTest : public ::testing::Test {
 protected:
  static std::unique_ptr<KLView> make(KLRect frame, bool tappable = false, Kind kind = Kind::Plain) {
    auto view = std::make_unique<KLView>(kind);
    view->frame = frame;
    view->userInteractionEnabled = tappable;
    return view;
  }

  std::unique_ptr<KLView> root = make({100, 100, 200, 200}, true, Kind::Mask);
};

TEST_F(KLViewTest, HitsTheDeepestViewThatTakesTaps) {
  KLView& column = root->addSubview(make({10, 10, 100, 100}));
  KLView& button = column.addSubview(make({20, 20, 30, 30}, true, Kind::Button));
  button.addSubview(make({0, 0, 30, 30}, false, Kind::Label));
  EXPECT_EQ(root->hitTest({30, 30}), &button);
  EXPECT_EQ(root->hitTest({59.5, 59.5}), &button);
  EXPECT_EQ(root->hitTest({60, 60}), root.get());
  EXPECT_EQ(root->hitTest({200, 10}), nullptr);
  EXPECT_EQ(column.hitTest({10, 10}), nullptr);
}

TEST_F(KLViewTest, LaterSubviewsLieOnTopAndTextViewsAreHitForScrolling) {
  root->addSubview(make({0, 0, 50, 50}, true));
  KLView& upper = root->addSubview(make({25, 25, 50, 50}, true));
  KLView& text = root->addSubview(make({60, 60, 50, 50}, false, Kind::TextView));
  EXPECT_EQ(root->hitTest({30, 30}), &upper);
  EXPECT_EQ(root->hitTest({65, 65}), &text);
}

TEST_F(KLViewTest, WhatAParentClipsAwayCannotBeHit) {
  KLView& column = root->addSubview(make({0, 0, 50, 50}));
  KLView& button = column.addSubview(make({40, 0, 50, 20}, true));
  EXPECT_EQ(root->hitTest({70, 10}), &button);
  column.clipsToBounds = true;
  EXPECT_EQ(root->hitTest({70, 10}), root.get());
  EXPECT_EQ(root->hitTest({45, 10}), &button);
}

TEST_F(KLViewTest, FramesInTheRootAddUpWithoutTheRootsOwnPlace) {
  KLView& column = root->addSubview(make({10, 20, 100, 100}));
  KLView& label = column.addSubview(make({1, 2, 3, 4}));
  EXPECT_EQ(label.frameInRoot(), (KLRect{11, 22, 3, 4}));
  EXPECT_EQ(column.frameInRoot(), column.frame);
}

TEST_F(KLViewTest, SubviewsAreInsertedAndTakenOut) {
  KLView& last = root->addSubview(make({}));
  KLView& first = root->insertSubview(make({}), 0);
  KLView& end = root->insertSubview(make({}), 99);
  ASSERT_EQ(root->subviews().size(), 3u);
  EXPECT_EQ(root->subviews()[0].get(), &first);
  EXPECT_EQ(root->subviews()[1].get(), &last);
  EXPECT_EQ(root->subviews()[2].get(), &end);
  const auto taken = first.removeFromSuperview();
  EXPECT_EQ(taken.get(), &first);
  EXPECT_EQ(taken->superview(), nullptr);
  EXPECT_EQ(root->subviews().size(), 2u);
  EXPECT_EQ(root->removeFromSuperview(), nullptr);
}

TEST_F(KLViewTest, DisplayIsAskedForAtTheRootAndWeakReferencesEndWithTheView) {
  int asked = 0;
  root->onDisplayNeeded = [&] { ++asked; };
  KLView& label = root->addSubview(make({})).addSubview(make({}));
  label.setNeedsDisplay();
  EXPECT_EQ(asked, 1);
  const auto reference = label.weakReference();
  ASSERT_NE(reference.lock(), nullptr);
  EXPECT_EQ(*reference.lock(), &label);
  EXPECT_EQ(label.weakReference().lock(), reference.lock());
  root.reset();
  EXPECT_EQ(reference.lock(), nullptr);
}

}  // namespace
}  // namespace kaleo
