// Each element as a picture: from its JSON through layout and views to the pixels, at every device scale, against a picture worked
// out apart. So that no tolerance hides a wrong row of pixels, each picture is also moved by one, and must then look wrong.
#include <gtest/gtest.h>

#include <QBuffer>

#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"
#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"
#include "ExpectedPicture.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Platform/Qt/KLQtPainter.h"
#include "Platform/Qt/KLQtTextMeasurer.h"
#include "Support/PictureDownloads.h"

namespace kaleo {
namespace {

constexpr QSizeF kPoints(180, 120);
const QColor kGreen(0, 160, 80), kOrange(250, 140, 20), kNavy(20, 30, 90), kShade(0, 0, 0, 102);

std::string json(const QColor& color) {
  return fmt::format(R"({{"r": {}, "g": {}, "b": {}, "a": {}}})", color.red(), color.green(), color.blue(), color.alphaF());
}

/// Rows and columns of their own colours with a red edge, so that each pixel has one place only.
QImage pictureOf(QSize size) {
  QImage made(size, QImage::Format_ARGB32);
  for (int y = 0; y < size.height(); ++y) {
    for (int x = 0; x < size.width(); ++x) {
      const bool edge = x == 0 || y == 0 || x == size.width() - 1 || y == size.height() - 1;
      made.setPixelColor(x, y, edge ? QColor(Qt::red) : QColor(x % 2 * 200, y % 2 * 200, (x + y) % 3 * 100));
    }
  }
  return made;
}

KLBytes pngOf(const QImage& image) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return {bytes.begin(), bytes.end()};
}

QImage movedBy(const QImage& image, QPoint step) {
  QImage moved(image.size(), image.format());
  moved.fill(Qt::white);
  QPainter(&moved).drawImage(step, image);
  return moved;
}

class ElementPicturesTest : public ::testing::TestWithParam<double> {
 protected:
  const double scale = GetParam();

  /// Lays `text` out at the top left of the screen.
  void show(const std::string& text) {
    const KLPopupReading reading{screen, downloads.log, resources / "Kaleo.bundle"};
    element = KLPopupElementModelFactory(reading).elementModelWithDictionary(KLJSON::parse(text).value());
    element->layoutWithContainerWidth(kPoints.width(), KLQtTextMeasurer(KLQtSystemFont()));
    pictures = KLPopupPictures::load(element.get(), nullptr, resources.path());
    root.frame = {0, 0, kPoints.width(), kPoints.height()};
    view = &root.addSubview(popupViewWithElementModel(*element, {downloads.downloader, pictures}));
    downloads.threading.run();
  }

  void expectPicture() {
    const QImage painted = KLQtPainter(KLQtSystemFont()).paint(root, kPoints, scale, Qt::blue);
    QImage seen(painted.size(), QImage::Format_RGB32);
    seen.fill(Qt::white);
    seen.setDevicePixelRatio(scale);
    QPainter(&seen).drawImage(0, 0, painted);
    seen.setDevicePixelRatio(1);
    const QImage wanted = expected.image();
    EXPECT_EQ(expected.difference(seen, wanted), "");
    for (const QPoint step : {QPoint(0, 1), QPoint(0, -1), QPoint(1, 0), QPoint(-1, 0)}) {
      EXPECT_NE(expected.difference(movedBy(seen, step), wanted), "") << "a picture moved by a pixel goes unnoticed";
    }
    if (HasFailure() && qEnvironmentVariableIsSet("KALEO_KEEP_PICTURES")) {
      const QString name = qEnvironmentVariable("KALEO_KEEP_PICTURES") + "/" +
                           QString(::testing::UnitTest::GetInstance()->current_test_info()->name()).replace('/', '-');
      seen.save(name + "-seen.png");
      wanted.save(name + "-wanted.png");
    }
  }

  static QRectF frameOf(const KLView& view) {
    const KLRect frame = view.frameInRoot();
    return {frame.x, frame.y, frame.width, frame.height};
  }

  testing::PictureDownloads downloads;
  TemporaryDirectory resources;
  KLHeadlessScreen screen;
  std::shared_ptr<KLPopupElementModel> element;
  KLPopupPictures pictures;
  KLView root{KLView::Kind::Plain};
  KLView* view = nullptr;
  ExpectedPicture expected{kPoints, scale};
};

TEST_P(ElementPicturesTest, Label) {
  for (const auto& [word, alignment, top] :
       {std::tuple{"left", Qt::AlignLeft, 3}, {"center", Qt::AlignHCenter, 42}, {"right", Qt::AlignRight, 81}}) {
    const PlainLines lines{"Two lines\nof 12", 12, alignment, kNavy, 1, 12 / 5.0};
    show(fmt::format(R"({{"type": "label", "layout": {{"width": "150", "margin": {{"left": "11", "top": "{}"}}}},
        "properties": {{"text": "Two lines\nof 12", "font": "12", "textAlign": "{}", "color": {}, "backgroundColor": {}}}}})",
                     top, word, json(kNavy), json(kOrange)));
    const QRectF frame(11, top, 150, std::ceil(float(lines.height())) + 4);
    expected.fill(expected.area(frame), kOrange);
    expected.text(frame, lines);
  }
  expectPicture();
}

TEST_P(ElementPicturesTest, ScrollingLabel) {
  const PlainLines lines{"One\nTwo\nThree\nFour\nFive", 14, Qt::AlignLeft, kNavy, 1, 14 / 5.0};
  show(fmt::format(R"({{"type": "label", "layout": {{"width": "100", "maxHeight": "40", "margin": {{"left": "20", "top": "7"}}}},
      "properties": {{"text": "One\nTwo\nThree\nFour\nFive", "font": "14", "scrollableY": true, "color": {}}}}})",
                   json(kNavy)));
  view->contentOffsetY = 10;
  expected.text(QRectF(20, 7 - 10, 100, lines.height()), lines, QRectF(20, 7, 100, 40));
  expected.ignore({114, 7, 6, 40});  // the indicator
  expectPicture();
}

TEST_P(ElementPicturesTest, Image) {
  const QImage picture = pictureOf((QSizeF(100, 60) * scale).toSize());
  show(R"({"type": "image", "layout": {"width": "100", "height": "60", "margin": {"left": "12", "top": "8"}},
      "properties": {"image": "https://e.com/a.png", "cornerRadius": "14"}})");
  downloads.answerAll(pngOf(picture));
  const auto area = expected.area({12, 8, 100, 60}, 14);
  expected.pattern({area.rect}, picture, {area});
  expectPicture();
}

TEST_P(ElementPicturesTest, ImageThatIsMissing) {
  QImage icon(20, 10, QImage::Format_ARGB32);
  icon.fill(kGreen);
  std::filesystem::create_directories(resources / "Kaleo.bundle");
  icon.save(QString::fromStdString((resources / "Kaleo.bundle/placeholder.png").string()));
  show(R"({"type": "image", "layout": {"width": "160", "height": "90", "margin": {"left": "10", "top": "10"}}})");
  const QRectF frame(10, 10, 160, 90);
  expected.fill(expected.area(frame), QColor::fromRgbF(0, 41 / 255.0F, 0.4F, 0.06F));
  ASSERT_EQ(view->subviews().size(), 1u);
  ASSERT_EQ(view->subviews()[0]->subviews().size(), 2u);
  const QRectF iconFrame = frameOf(*view->subviews()[0]->subviews()[0]);
  expected.ignore(frameOf(*view->subviews()[0]->subviews()[1]));  // the caption, in whatever font has its characters
  EXPECT_EQ(iconFrame.size(), QSizeF(48, 24)) << "three tenths of the width, in the icon's shape";
  expected.fill(expected.area(iconFrame), kGreen);
  expectPicture();
}

TEST_P(ElementPicturesTest, Button) {
  show(fmt::format(R"({{"type": "button", "layout": {{"width": "140", "height": "44", "margin": {{"left": "21", "top": "9"}}}},
      "properties": {{"text": "Agree", "font": "18", "color": {}, "backgroundColor": {}, "borderWidth": "3", "borderColor": {},
                      "cornerRadius": "12"}}}})",
                   json(kNavy), json(kOrange), json(kGreen)));
  const QRectF frame(21, 9, 140, 44);
  const auto area = expected.area(frame, 12);
  expected.fill(area, kOrange);
  expected.ring(area, 3, kGreen);
  expected.text(frame, {"Agree", 18, Qt::AlignHCenter, kNavy, 0});
  expectPicture();
}

TEST_P(ElementPicturesTest, ButtonWithAPicture) {
  const QImage picture = pictureOf((QSizeF(60, 40) * scale).toSize());
  std::filesystem::create_directories(resources / "Kaleo.bundle");
  picture.save(QString::fromStdString((resources / "Kaleo.bundle/close.png").string()));
  show(R"({"type": "row", "layout": {}, "subviews": [
      {"type": "image_button", "layout": {"width": "60", "height": "40", "margin": {"left": "8", "top": "4"}},
       "properties": {"image": "https://e.com/a.png", "cornerRadius": "20"}},
      {"type": "button", "layout": {"width": "60", "height": "40", "margin": {"left": "10", "top": "50"}},
       "properties": {"localImageName": "close"}}]})");
  downloads.answerAll(pngOf(picture));
  const auto remote = expected.area({8, 4, 60, 40}, 20), local = expected.area({78, 50, 60, 40});
  expected.pattern({remote.rect}, picture, {remote});
  expected.pattern(local, picture);
  expectPicture();
}

TEST_P(ElementPicturesTest, Link) {
  show(fmt::format(R"({{"type": "link", "layout": {{"width": "120", "height": "30", "margin": {{"left": "15", "top": "6"}}}},
      "properties": {{"text": "Read more", "font": "16", "color": {}, "backgroundColor": {}}}}})",
                   json(kNavy), json(kOrange)));
  expected.text({15, 6, 120, 30}, {"Read more", 16, Qt::AlignHCenter, kNavy, 0, 0, true});
  expectPicture();
}

TEST_P(ElementPicturesTest, ContainersClipTheirChildrenToRoundCornersAtAnyDepth) {
  show(fmt::format(R"({{"type": "column", "layout": {{"width": "150", "height": "100", "margin": {{"left": "13", "top": "5"}}}},
      "properties": {{"backgroundColor": {0}, "borderWidth": "4", "borderColor": {1}, "cornerRadius": "24"}}, "subviews": [
        {{"type": "row", "layout": {{"width": "120", "padding": {{"bottom": "90"}}, "margin": {{"left": "-10", "top": "-20"}}}},
         "properties": {{"backgroundColor": {2}, "cornerRadius": "30"}}, "subviews": [
           {{"type": "button", "layout": {{"width": "60", "height": "70", "margin": {{"left": "30", "top": "50"}}}},
            "properties": {{"backgroundColor": {3}}}}}]}}]}})",
                   json(kOrange), json(kGreen), json(kNavy), json(kShade)));
  const auto card = expected.area({13, 5, 150, 100}, 24), row = expected.area({3, -15, 120, 210}, 30);
  expected.fill(card, kOrange);
  expected.fill(row, kNavy, {card});
  expected.fill(expected.area({33, 35, 60, 70}), kShade, {row, card});
  expected.ring(card, 4, kGreen);
  expectPicture();
}

TEST_P(ElementPicturesTest, ContainersHaveAPictureUnderTheirChildren) {
  const QImage picture = pictureOf((QSizeF(140, 80) * scale).toSize());
  show(fmt::format(
      R"({{"layout": {{"width": "140", "padding": {{"top": "10", "left": "20", "bottom": "40"}}, "margin": {{"left": "7"}}}},
      "properties": {{"backgroundImage": "https://e.com/b.png", "borderWidth": "2", "borderColor": {}}},
      "subviews": [{{"type": "button", "layout": {{"width": "50", "height": "30"}}, "properties": {{"backgroundColor": {}}}}}]}})",
      json(kGreen), json(kShade)));
  downloads.answerAll(pngOf(picture));
  const auto area = expected.area({7, 0, 140, 80});
  expected.pattern(area, picture);
  expected.fill(expected.area({27, 10, 50, 30}), kShade);
  expected.ring(area, 2, kGreen);
  expectPicture();
}

INSTANTIATE_TEST_SUITE_P(Scales, ElementPicturesTest, ::testing::Values(1.0, 1.5, 2.0, 3.0));

}  // namespace
}  // namespace kaleo
