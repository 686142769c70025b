#include "Campaign/Popup/Show/KLPopupTransition.h"

#include <gtest/gtest.h>

#include "Campaign/Popup/Show/KLPopupPicturePlayer.h"
#include "Support/PictureDownloads.h"

namespace kaleo {
namespace {

using Transform = KLView::Transform;
constexpr KLColor kMaskColor{0, 0, 0, 0.5};

class KLPopupStateTest : public ::testing::Test {
 protected:
  KLPopupStateTest() {
    mask.frame = {0, 0, 375, 800};
    content.frame = {50, 100, 200, 300};
  }
  void apply(int type, double shown) { KLApplyPopupState(type, shown, kMaskColor, mask, content); }

  KLView mask{KLView::Kind::Mask};
  KLView content{KLView::Kind::Plain};
};

TEST_F(KLPopupStateTest, EveryTypeHidesInItsOwnWay) {
  struct Expected {
    int type;
    double alpha;
    Transform transform;
  };
  for (const auto& [type, alpha, transform] :
       {Expected{1, 0, {0.01, 0, 0}}, Expected{2, 1, {0.01, 0, 0}}, Expected{3, 0, {}}, Expected{4, 1, {1, 0, 700}},
        Expected{5, 1, {1, 0, -400}}, Expected{99, 0, {0.01, 0, 0}}}) {
    apply(type, 0);
    EXPECT_EQ(content.alpha, alpha) << type;
    EXPECT_EQ(content.transform, transform) << type;
    EXPECT_EQ(mask.backgroundColor->alpha, 0) << type;
    apply(type, 1);
    EXPECT_EQ(content.alpha, 1) << type;
    EXPECT_EQ(content.transform, Transform{}) << type;
    EXPECT_EQ(mask.backgroundColor, kMaskColor) << type;
  }
}

TEST_F(KLPopupStateTest, HalfWayIsInBetween) {
  apply(4, 0.5);
  EXPECT_EQ(content.transform.translateY, 350);
  EXPECT_EQ(mask.backgroundColor->alpha, 0.25);
  apply(1, 0.5);
  EXPECT_EQ(content.alpha, 0.5);
  EXPECT_DOUBLE_EQ(content.transform.scale, 0.505);
}

TEST(KLPopupTransitionTest, EasesInAndOut) {
  EXPECT_EQ(KLEaseInOut(0), 0);
  EXPECT_EQ(KLEaseInOut(1), 1);
  EXPECT_EQ(KLEaseInOut(0.5), 0.5);
  EXPECT_LT(KLEaseInOut(0.1), 0.1);
  EXPECT_GT(KLEaseInOut(0.9), 0.9);
}

TEST(KLPopupTransitionTest, BeginsWithItsFirstFrameAndEndsAfterItsDuration) {
  KLPopupTransition transition;
  int ended = 0;
  transition.start(1, 0.5, [&] { ++ended; });
  EXPECT_TRUE(transition.advance(100).empty());
  EXPECT_EQ(transition.shown(), 0);
  EXPECT_TRUE(transition.advance(100.25).empty());
  EXPECT_EQ(transition.shown(), 0.5);
  const auto completions = transition.advance(101);
  ASSERT_EQ(completions.size(), 1u);
  completions[0]();
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(transition.shown(), 1);
  EXPECT_FALSE(transition.isRunning());
}

TEST(KLPopupTransitionTest, ALaterMovementTakesOverAndTheEarlierEndsInItsTime) {
  KLPopupTransition transition;
  std::string ended;
  transition.start(1, 1, [&] { ended += "in "; });
  transition.advance(0);
  transition.advance(0.5);
  transition.start(0, 1, [&] { ended += "out "; });
  transition.advance(0.5);
  EXPECT_EQ(transition.shown(), 0.5);
  for (const auto& completion : transition.advance(1)) completion();
  EXPECT_EQ(ended, "in ");
  EXPECT_EQ(transition.shown(), 0.25);
  for (const auto& completion : transition.advance(1.5)) completion();
  EXPECT_EQ(ended, "in out ");
  EXPECT_EQ(transition.shown(), 0);
}

TEST(KLPopupTransitionTest, NoDurationEndsWithTheFirstFrameAndFinishEndsAll) {
  KLPopupTransition transition;
  transition.start(1, 0, [] {});
  EXPECT_EQ(transition.advance(7).size(), 1u);
  transition.start(0, 5, [] {});
  transition.start(1, 5, [] {});
  EXPECT_EQ(transition.finish().size(), 2u);
  EXPECT_EQ(transition.shown(), 1);
}

TEST(KLPopupPicturePlayerTest, PicturesPlayTheirDelaysOverAndOver) {
  const testing::SketchImage image({0.1, 0.3, 0.1});
  EXPECT_EQ(KLFrameAt(image, 0), 0u);
  EXPECT_EQ(KLFrameAt(image, 0.15), 1u);
  EXPECT_EQ(KLFrameAt(image, 0.45), 2u);
  EXPECT_EQ(KLFrameAt(image, 0.55), 0u);
  EXPECT_EQ(KLFrameAt(image, 1000.15), 1u);
}

TEST(KLPopupPicturePlayerTest, EachPictureBeginsWithItsFirstFrame) {
  KLView root(KLView::Kind::Plain);
  KLView& first = root.addSubview(std::make_unique<KLView>(KLView::Kind::ImageView));
  KLView& second = root.addSubview(std::make_unique<KLView>(KLView::Kind::ImageView));
  EXPECT_FALSE(KLPopupPicturePlayer::hasMovingPictures(root));
  first.image = std::make_shared<testing::SketchImage>(std::vector{1.0, 1.0});
  second.image = std::make_shared<testing::SketchImage>();
  EXPECT_TRUE(KLPopupPicturePlayer::hasMovingPictures(root));
  KLPopupPicturePlayer player;
  EXPECT_FALSE(player.advance(root, 10.5));
  EXPECT_TRUE(player.advance(root, 11.75));
  EXPECT_EQ(first.currentFrame, 1u);
  second.image = std::make_shared<testing::SketchImage>(std::vector{1.0, 1.0});
  EXPECT_TRUE(player.advance(root, 12.5));
  EXPECT_EQ(first.currentFrame, 0u);
  EXPECT_EQ(second.currentFrame, 0u);
  EXPECT_TRUE(player.advance(root, 13.5));
  EXPECT_EQ(second.currentFrame, 1u);
}

}  // namespace
}  // namespace kaleo
