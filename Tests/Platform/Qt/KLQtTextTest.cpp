#include <cmath>
#include <string>
#include <thread>

#include "QtStage.h"

namespace kaleo {
namespace {

using Kind = KLView::Kind;

const std::string kLatin = "Your first order ships free, and this code takes 10 % off everything in it: gypsy quilts, jugs.";
const std::string kChinese = "订单已收到，我们这就为您打包。即日起至月底，器物与绿植七折起，下一单随心搭配，全场包邮。";
const std::string kMixed = "春日特惠 50% off：Åse's “jumpy” cups，全场包邮";

KLAttributedText textOf(const std::string& text, double fontSize) { return {text, fontSize, std::nullopt, 1, fontSize / 5}; }

class KLQtTextTest : public QtStage {
 protected:
  KLSize measure(const KLAttributedText& text, double width) { return platform.presentation.textMeasurer->measure(text, width); }
  KLSize measure(const std::string& text, double fontSize, double width) { return measure(textOf(text, fontSize), width); }

  static bool isInk(const QImage& image, int x, int y) { return image.pixelColor(x, y).lightness() < 200; }
  static QRect inkOf(const QImage& image) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (isInk(image, x, y)) ink |= QRect(x, y, 1, 1);
      }
    }
    return ink;
  }
  QImage pictureOf(KLView& view) {
    const QImage seen = picture();
    view.removeFromSuperview();
    return seen;
  }
};

TEST_F(KLQtTextTest, KeepsTheSizesOfTextsThatDifferApart) {
  KLAttributedText spaced = textOf(kLatin, 16), airy = spaced;
  spaced.kerning = 3;
  airy.lineSpacing = 9;
  const KLSize plain = measure(kLatin, 16, 173);
  EXPECT_NE(measure(spaced, 173).height, plain.height);
  EXPECT_NE(measure(airy, 173).height, plain.height);
  EXPECT_NE(measure(kLatin, 16, 300).height, plain.height);
  for (int other = 0; other < 1000; ++other) measure(std::to_string(other), 16, 100);
  EXPECT_EQ(measure(kLatin, 16, 173), plain);
}

TEST_F(KLQtTextTest, BreaksBetweenWordsAndAnywhereInChinese) {
  const double line = measure("x", 16, 1000).height;
  const double step = line + 16 / 5.0;
  const auto lines = [&](const std::string& text, double width) {
    return int(std::lround((measure(text, 16, width).height - line) / step)) + 1;
  };
  EXPECT_EQ(lines("one two", measure("one", 16, 1000).width + 8), 2);
  EXPECT_EQ(lines("unbreakableword", measure("unbreakableword", 16, 1000).width / 2 + 8), 2);
  EXPECT_EQ(lines("one\ntwo", 1000), 2);
  EXPECT_EQ(lines("one\r\ntwo\rthree", 1000), 3);
  EXPECT_EQ(lines("one\n\ntwo", 1000), 3);
  const double chinese = measure("春春春春春春春春", 16, 1000).width;
  EXPECT_EQ(std::lround(measure("春春春春春春春春", 16, chinese / 2 + 2).width), std::lround(chinese / 2));
}

TEST_F(KLQtTextTest, MeasuresKerningAndLineSpacingAsGiven) {
  const KLAttributedText plain{"abcde", 20};
  KLAttributedText kerned = plain;
  kerned.kerning = 2.5;
  EXPECT_NEAR(measure(kerned, 1000).width - measure(plain, 1000).width, 5 * 2.5, 0.1);
  const KLAttributedText lines{"a\nb\nc", 20};
  KLAttributedText spaced = lines;
  spaced.lineSpacing = 7;
  EXPECT_NEAR(measure(spaced, 1000).height - measure(lines, 1000).height, 2 * 7, 0.01);
}

TEST_F(KLQtTextTest, GrowsInProportionWithTheFontSize) {
  for (const std::string& text : {kLatin, kChinese}) {
    const KLSize small = measure({text, 10}, 200), large = measure({text, 30}, 600), odd = measure({text, 12.7}, 254);
    EXPECT_NEAR(large.width, 3 * small.width, 0.01 * large.width);
    EXPECT_NEAR(large.height, 3 * small.height, 0.01 * large.height);
    EXPECT_NEAR(odd.height, 1.27 * small.height, 0.02 * odd.height);
  }
  EXPECT_GT(measure({"x", 100}, 1000).height, 90);
  EXPECT_LT(measure({"x", 100}, 1000).height, 180);
}

TEST_F(KLQtTextTest, MeasuresAlikeOnEveryThread) {
  const KLSize here = measure(kMixed, 15, 140);
  std::vector<std::thread> threads;
  std::vector<KLSize> there(8);
  for (KLSize& size : there) {
    threads.emplace_back([&size, this] {
      for (int i = 0; i < 20; ++i) size = measure(kMixed, 15, 140);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const KLSize& size : there) EXPECT_EQ(size, here);
}

TEST_F(KLQtTextTest, TakesAnythingForAText) {
  EXPECT_EQ(measure("", 16, 100), (KLSize{0, 0}));
  EXPECT_EQ(measure("text", 0, 100), (KLSize{0, 0}));
  EXPECT_EQ(measure("text", std::nan(""), 100), (KLSize{0, 0}));
  EXPECT_GT(measure("\xff\xfe broken \xc3", 16, 100).height, 0);
  EXPECT_GT(measure("text", 16, std::nan("")).height, 0);
  EXPECT_TRUE(std::isfinite(measure({"text", 1e300, std::nullopt, 1e300, std::nan("")}, 1e300).height));
  EXPECT_GT(measure(std::string(5'000'000, 'x'), 16, 10000).height, 0);
}

TEST_F(KLQtTextTest, CentresALabelVerticallyAndAButtonBothWays) {
  showAll();
  KLView& label = add(Kind::Label, {10, 10, 200, 100});
  label.text = KLAttributedText{"HHHH", 20};
  QImage seen = pictureOf(label);
  QRect ink = inkOf(seen);
  const double scale = seen.devicePixelRatio();
  EXPECT_LT(ink.left() / scale, 15);
  EXPECT_NEAR(ink.center().y() / scale, 60, 4);

  KLView& button = add(Kind::Button, {10, 10, 200, 100});
  button.text = KLAttributedText{"HHHH", 20};
  ink = inkOf(seen = pictureOf(button));
  EXPECT_NEAR(ink.center().x() / scale, 110, 1.5);
  EXPECT_NEAR(ink.center().y() / scale, 60, 4);
  const int oneLine = ink.height();

  KLView& narrow = add(Kind::Button, {10, 10, 100, 100});
  narrow.text = KLAttributedText{"HHHH HHHH HHHH HHHH HHHH\nHHHH", 20};
  ink = inkOf(seen = pictureOf(narrow));
  EXPECT_GE(ink.left() / scale, 10);
  EXPECT_LE(ink.right() / scale, 110);
  EXPECT_LE(ink.height(), oneLine * 1.3);
}

TEST_F(KLQtTextTest, AlignsAndUnderlines) {
  showAll();
  QRect ink[3];
  for (int alignment = 0; alignment < 3; ++alignment) {
    KLView& label = add(Kind::Label, {50, 10, 300, 40});
    label.text = KLAttributedText{"HHHH", 20};
    label.text->alignment = static_cast<KLTextAlignment>(alignment);
    ink[alignment] = inkOf(pictureOf(label));
  }
  const double scale = host->devicePixelRatioF();
  EXPECT_NEAR(ink[0].left() / scale, 51, 3);
  EXPECT_NEAR(ink[1].center().x() / scale, 200, 3);
  EXPECT_NEAR(ink[2].right() / scale, 349, 3);
  KLView& link = add(Kind::Button, {50, 10, 300, 40});
  link.text = KLAttributedText{"HHHH", 20};
  link.text->underline = true;
  EXPECT_GT(inkOf(pictureOf(link)).bottom(), ink[1].bottom());
}

TEST_F(KLQtTextTest, ScrollsATextAndShowsHowFar) {
  showAll();
  const auto picked = [this](double offset) {
    KLView& text = add(Kind::TextView, {10, 50, 200, 100});
    text.text = KLAttributedText{kLatin + "\n" + kLatin + "\n" + kLatin, 16};
    text.contentHeight = measure(*text.text, 200).height;
    text.contentOffsetY = offset;
    return pictureOf(text);
  };
  const QImage top = picked(0), scrolled = picked(30), end = picked(100000);
  const double scale = top.devicePixelRatio();
  const auto part = [&](const QImage& image, double y) {  // without the indicator
    return image.copy(QRectF(10 * scale, y * scale, 190 * scale, 60 * scale).toRect());
  };
  EXPECT_EQ(part(top, 85), part(scrolled, 55));
  for (const QImage& image : {top, scrolled, end}) {
    EXPECT_GE(inkOf(image).top() / scale, 49.5);
    EXPECT_LE(inkOf(image).bottom() / scale, 150);
  }
  const auto indicator = [&](const QImage& image) {
    return inkOf(image.copy(int(206 * scale), 0, int(4 * scale), image.height()));
  };
  EXPECT_GT(indicator(end).top(), indicator(top).top());
  EXPECT_LT(indicator(top).height() / scale, 100);
}

}  // namespace
}  // namespace kaleo
