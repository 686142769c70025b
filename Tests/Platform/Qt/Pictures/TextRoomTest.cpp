#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "Platform/Qt/KLQtPainter.h"
#include "Platform/Qt/KLQtTextMeasurer.h"

namespace kaleo {
namespace {

constexpr double kRoom = 40;  // above and below the label, in points

QImage pictureOf(KLView::Kind kind, KLRect frame, const KLAttributedText& text, double offset, QSizeF size, double scale) {
  KLView root(KLView::Kind::Plain);
  root.frame = {0, 0, size.width(), size.height()};
  KLView& view = root.addSubview(std::make_unique<KLView>(kind));
  view.frame = frame;
  view.text = text;
  view.contentOffsetY = offset;
  return KLQtPainter(KLQtSystemFont()).paint(root, size, scale, Qt::blue);
}

bool isBlank(const QImage& image) {
  QImage blank(image.size(), image.format());
  blank.fill(Qt::transparent);
  blank.setDevicePixelRatio(image.devicePixelRatio());
  return image == blank;
}

// A label as high as its text was measured shows what the same text shows with room above and below it, to the pixel.
TEST(TextRoomTest, NoLineIsCutAtAnyWidthFontOrScale) {
  const KLQtTextMeasurer measurer{KLQtSystemFont()};
  for (const std::string string :
       {"Your first order ships free: gypsy quilts, Åse's “jumpy” jugs and 10 % off everything in it.",
        "订单已收到，我们这就为您打包。即日起至月底，全场包邮。", "春日 50% off：Åse's cups\n\n全场包邮 👍🏽🎉",
        "شحن مجاني لأول طلب لك، والرمز صالح حتى نهاية الشهر", "המשלוח הראשון חינם, עם הקוד SPRING"}) {
    for (const double fontSize : {8.0, 11.0, 13.5, 16.0, 24.0, 37.2}) {
      const KLAttributedText text{string, fontSize, std::nullopt, 1, fontSize / 5};
      for (const double width : {35.0, 90.0, 173.0, 260.5, 375.0}) {
        const double measured = measurer.measure(text, width).height;
        const double height = std::ceil(static_cast<float>(measured)) + 4;
        const QSizeF size(width, height + 2 * kRoom);
        for (const double scale : {1.0, 1.5, 2.0, 3.0}) {
          const QImage label = pictureOf(KLView::Kind::Label, {0, kRoom, width, height}, text, 0, size, scale);
          const double top = kRoom + (height - measured) / 2;
          const QImage roomy = pictureOf(KLView::Kind::TextView, {0, 0, width, size.height()}, text, -top, size, scale);
          EXPECT_FALSE(isBlank(label));
          EXPECT_TRUE(label == roomy) << string << " size " << fontSize << " width " << width << " scale " << scale;
        }
      }
    }
  }
}

QRect inkOf(const QImage& image, QRect within) {
  QRect ink;
  for (int y = within.top(); y <= within.bottom(); ++y) {
    for (int x = within.left(); x <= within.right(); ++x) {
      if (qAlpha(image.pixel(x, y)) > 100) ink |= QRect(x, y, 1, 1);
    }
  }
  return ink;
}

// Full stops after letters that run to the left stand left of them, where there is less ink.
TEST(TextRoomTest, EachParagraphRunsInItsOwnDirection) {
  for (const auto& [kind, before] :
       {std::pair{KLView::Kind::Label, ""}, {KLView::Kind::Button, ""}, {KLView::Kind::Label, "Free!\n"}}) {
    for (const auto& [text, runsLeft] : {std::pair{"אבגדה......", true}, {"لسلسل......", true}, {"abcde......", false}}) {
      const QImage image = pictureOf(kind, {0, 0, 200, 60}, KLAttributedText{std::string(before) + text, 16}, 0, {200, 60}, 2);
      const bool hasTwoLines = *before != 0;
      const QRect lastLine = inkOf(image, hasTwoLines ? QRect(0, 60, image.width(), 60) : image.rect());
      const auto height = [&](int left) { return inkOf(image, QRect(left, lastLine.top(), 20, lastLine.height())).height(); };
      const int atLeft = height(lastLine.left()), atRight = height(lastLine.right() - 19);
      EXPECT_TRUE(runsLeft ? atLeft * 2 < atRight : atRight * 2 < atLeft) << before << text << " " << atLeft << " " << atRight;
    }
  }
}

}  // namespace
}  // namespace kaleo
