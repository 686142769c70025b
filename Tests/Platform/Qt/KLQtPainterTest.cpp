#include <cmath>
#include <limits>

#include "QtPictures.h"
#include "QtStage.h"

namespace kaleo {
namespace {

using Kind = KLView::Kind;

class KLQtPainterTest : public QtStage {
 protected:
  KLQtPainterTest() { showAll(); }

  static void expectColor(const QColor& seen, const QColor& wanted, int tolerance = 2) {
    EXPECT_LE(std::abs(seen.red() - wanted.red()), tolerance) << seen.name().toStdString();
    EXPECT_LE(std::abs(seen.green() - wanted.green()), tolerance) << seen.name().toStdString();
    EXPECT_LE(std::abs(seen.blue() - wanted.blue()), tolerance) << seen.name().toStdString();
  }
};

TEST_F(KLQtPainterTest, DrawsSharpEdgesWhateverTheFraction) {
  for (const double offset : {0.0, 0.25, 0.4, 0.5, 0.77}) {
    KLView& view = add(Kind::Plain, {20 + offset, 30 + offset, 50.3, 40.6});
    view.backgroundColor = kBlack;
    const QImage seen = picture();
    for (int x = 0; x < seen.width(); ++x) {
      const int shade = seen.pixelColor(x, seen.height() * 50 / 300).red();
      EXPECT_TRUE(shade == 0 || shade == 255) << "offset " << offset << " column " << x << " shade " << shade;
    }
    view.removeFromSuperview();
  }
}

TEST_F(KLQtPainterTest, RoundsBackgroundAndBorderWithoutClippingWhatLiesInside) {
  KLView& view = add(Kind::Plain, {50, 50, 100, 100});
  view.cornerRadius = 30;
  view.backgroundColor = kGreen;
  view.borderWidth = 2;
  view.borderColor = kRed;
  add(view, Kind::Plain, {-20, 40, 30, 20}).backgroundColor = kBlue;
  const QImage seen = picture();
  expectColor(at(seen, 51, 51), Qt::white);
  expectColor(at(seen, 100, 50.5), Qt::red);
  expectColor(at(seen, 35, 100), Qt::blue);
  expectColor(at(seen, 100, 100), Qt::green);
}

TEST_F(KLQtPainterTest, ShrinksAndStretchesPicturesOverTheBounds) {
  add(Kind::ImageView, {10, 10, 30, 30}).image = checkerboard(600, 600);
  add(Kind::Plain, {100, 10, 200, 50}).backgroundImage = plainPicture(2, 2, 0, 0, 255, 255);
  const QImage seen = picture();
  for (const double p : {12.0, 20.0, 35.0}) expectColor(at(seen, p, p), QColor(128, 128, 128), 6);
  expectColor(at(seen, 101, 11), Qt::blue);
  expectColor(at(seen, 298, 58), Qt::blue);
  expectColor(at(seen, 302, 30), Qt::white);
}

TEST_F(KLQtPainterTest, ShowsTheCurrentFrame) {
  KLView& view = add(Kind::ImageView, {10, 10, 50, 50});
  view.image = std::make_shared<Picture>(
      std::vector{pixelsOf(5, 5, 255, 0, 0, 255), pixelsOf(5, 5, 0, 255, 0, 255), pixelsOf(5, 5, 0, 0, 255, 255)});
  for (const auto& [frame, color] : {std::pair{0, Qt::red}, {1, Qt::green}, {2, Qt::blue}, {0, Qt::red}, {99, Qt::blue}}) {
    view.currentFrame = std::size_t(frame);
    expectColor(at(picture(), 30, 30), color);
  }
}

TEST_F(KLQtPainterTest, FadesAViewWithItsSubviewsAsOnePicture) {
  KLView& card = add(Kind::Plain, {50, 50, 100, 100});
  card.backgroundColor = kRed;
  card.alpha = 0.5;
  add(card, Kind::Plain, {0, 0, 50, 100}).backgroundColor = kBlack;
  KLView& alone = add(Kind::Plain, {200, 50, 50, 50});
  alone.backgroundColor = kBlack;
  alone.alpha = 0.25;
  KLView& gone = add(Kind::Plain, {300, 50, 50, 50});
  gone.backgroundColor = kBlack;
  gone.alpha = 0;
  const QImage seen = picture();
  expectColor(at(seen, 125, 100), QColor(255, 127, 127));
  expectColor(at(seen, 75, 100), QColor(127, 127, 127));
  expectColor(at(seen, 225, 75), QColor(191, 191, 191));
  expectColor(at(seen, 325, 75), Qt::white);
}

TEST_F(KLQtPainterTest, ScalesAboutTheCentreAndMoves) {
  KLView& card = add(Kind::Plain, {100, 100, 100, 100});
  card.backgroundColor = kGreen;
  add(card, Kind::Plain, {0, 0, 20, 20}).backgroundColor = kRed;
  card.transform = {0.5, 40, -20};
  const QImage seen = picture();  // now from 165 to 215 and from 105 to 155
  expectColor(at(seen, 190, 130), Qt::green);
  expectColor(at(seen, 170, 110), Qt::red);
  expectColor(at(seen, 213, 153), Qt::green);
  for (const auto& [x, y] : {std::pair{163.0, 130.0}, {217.0, 130.0}, {190.0, 103.0}, {190.0, 157.0}})
    expectColor(at(seen, x, y), Qt::white);
}

TEST_F(KLQtPainterTest, DarkensAPressedButtonOnlyWhereThereIsSomething) {
  KLView& button = add(Kind::Button, {50, 50, 100, 40});
  button.cornerRadius = 20;
  button.backgroundColor = kWhite;
  KLView& ring = add(Kind::Button, {200, 50, 40, 40});
  ring.backgroundImage = plainPicture(4, 4, 0, 0, 0, 0);
  expectColor(at(picture(), 100, 70), Qt::white);
  button.highlighted = ring.highlighted = true;
  const QImage seen = picture();
  EXPECT_LT(at(seen, 100, 70).red(), 240);
  EXPECT_GT(at(seen, 100, 70).red(), 150);
  expectColor(at(seen, 51, 51), Qt::white);
  expectColor(at(seen, 220, 70), Qt::white);
}

TEST_F(KLQtPainterTest, RingsTheFocusedViewFromOutside) {
  KLView& button = add(Kind::Button, {50, 50, 100, 40});
  button.backgroundColor = kGreen;
  const QImage before = picture();
  button.focused = true;
  const QImage after = picture();
  expectColor(at(after, 50, 70), Qt::green);
  expectColor(at(after, 149, 89), Qt::green);
  EXPECT_NE(at(after, 47.5, 70), at(before, 47.5, 70));
  EXPECT_EQ(at(after, 40, 70), at(before, 40, 70));
}

TEST_F(KLQtPainterTest, DrawsNothingOfWhatIsNoShape) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const KLRect& frame : {KLRect{nan, 0, 50, 50}, {0, 0, infinity, 50}, {0, 0, -10, 50}, {1e300, 0, 50, 50}, {0, 0, 0, 0}}) {
    KLView& view = add(Kind::Label, frame);
    view.backgroundColor = kRed;
    view.text = KLAttributedText{"text", 20};
  }
  const auto broken = std::make_shared<KLPixels>();
  broken->width = broken->height = 1 << 20;
  for (const auto& image : {std::make_shared<Picture>(std::vector<std::shared_ptr<const KLPixels>>{broken}),
                            std::make_shared<Picture>(std::vector<std::shared_ptr<const KLPixels>>{nullptr}),
                            std::make_shared<Picture>(std::vector<std::shared_ptr<const KLPixels>>{})})
    add(Kind::ImageView, {10, 10, 50, 50}).image = image;
  for (const double odd : {nan, infinity, -infinity, 1e300, -1.0, 0.0}) {
    KLView& view = add(Kind::TextView, {10, 10, 50, 50});
    view.cornerRadius = view.borderWidth = view.contentHeight = view.contentOffsetY = odd;
    view.text = KLAttributedText{"text", odd, kWhite, odd, odd};
    view.backgroundColor = KLColor{1, 1, 1, odd};
    view.borderColor = kWhite;
    view.clipsToBounds = view.highlighted = true;
    view.alpha = 0.5;
    view.transform = {odd, odd, odd};
  }
  const QImage seen = picture();
  expectColor(at(seen, 5, 5), Qt::white);
  expectColor(at(seen, 200, 200), Qt::white);
}

TEST_F(KLQtPainterTest, DrawsTheVisiblePartOfWhatIsFarTooLarge) {
  KLView& huge = add(Kind::Plain, {-400000, -400000, 900000, 900000});
  huge.backgroundColor = kBlue;
  huge.clipsToBounds = true;
  huge.cornerRadius = 20;
  huge.alpha = 0.5;
  add(huge, Kind::Plain, {400000, 400000, 10, 10}).backgroundColor = kBlack;
  const QImage seen = picture();
  expectColor(at(seen, 200, 200), QColor(127, 127, 255));
  expectColor(at(seen, 5, 5), QColor(127, 127, 127));
}

}  // namespace
}  // namespace kaleo
