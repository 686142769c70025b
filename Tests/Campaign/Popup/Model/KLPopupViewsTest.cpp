#include <gtest/gtest.h>

#include <fstream>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/PictureDownloads.h"

namespace kaleo {
namespace {

using Kind = KLView::Kind;

void writeFile(const std::filesystem::path& path, const KLBytes& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

class KLPopupViewsTest : public ::testing::Test {
 protected:
  /// The laid out view tree of a template.
  std::unique_ptr<KLView> views(const char* json) {
    const KLPopupReading reading{screen, downloads.log, resources / "Kaleo.bundle"};
    model = std::make_unique<KLPopupModel>(KLValue(KLObject{{"template", KLJSON::parse(json).value()}}), reading);
    model->element->layoutWithContainerWidth(375, KLFixedTextMeasurer());
    pictures = KLPopupPictures::load(model->element.get(), &options, resources.path());
    return popupViewWithElementModel(*model->element, {downloads.downloader, pictures});
  }

  testing::PictureDownloads downloads;
  TemporaryDirectory resources;
  KLHeadlessScreen screen;
  KLConfigOptions options{"https://e.com", downloads.host.registry};
  std::unique_ptr<KLPopupModel> model;
  KLPopupPictures pictures;
};

TEST_F(KLPopupViewsTest, LabelsShowTextAndTakeNoTaps) {
  const auto label = views(R"({"type": "label", "layout": {"width": "100"}, "properties": {"font": "20", "text": "hi",
      "backgroundColor": {"r": 255, "a": 1}}, "action": {"IOS": [{"type": "close"}]}})");
  EXPECT_EQ(label->kind(), Kind::Label);
  EXPECT_EQ(label->frame, (KLRect{0, 0, 100, 28}));
  EXPECT_EQ(label->text->text, "hi");
  EXPECT_EQ(label->backgroundColor, (KLColor{1, 0, 0, 1}));
  EXPECT_EQ(label->elementModel, model->element);
  EXPECT_TRUE(label->popupActions.empty());

  const auto scrolling = views(R"({"type": "label", "layout": {"width": "10", "maxHeight": "30"}, "properties": {"font": "20",
      "text": "hi", "scrollableY": true}})");
  EXPECT_EQ(scrolling->kind(), Kind::TextView);
  EXPECT_EQ(scrolling->contentHeight, 48);
  EXPECT_EQ(scrolling->frame.height, 30);
}

TEST_F(KLPopupViewsTest, ContainersHaveBorderCornersAndAPictureUnderTheirChildren) {
  const auto row = views(R"({"layout": {"width": "80", "padding": {"bottom": "40"}}, "properties": {"borderWidth": "2",
      "borderColor": {"a": 1}, "cornerRadius": "6", "backgroundImage": "https://e.com/b.gif"}, "subviews": [{"type": "link"}]})");
  EXPECT_EQ(row->kind(), Kind::Plain);
  EXPECT_EQ(row->borderWidth, 2);
  EXPECT_EQ(row->cornerRadius, 6);
  EXPECT_TRUE(row->clipsToBounds);
  EXPECT_EQ(row->elementModel, nullptr);
  ASSERT_EQ(row->subviews().size(), 2u);
  EXPECT_EQ(row->subviews()[0]->kind(), Kind::ImageView);
  EXPECT_EQ(row->subviews()[0]->frame, (KLRect{0, 0, 80, 40}));
  EXPECT_EQ(row->subviews()[1]->kind(), Kind::Button);
  const auto plain = views(R"({"layout": {}, "properties": {"borderWidth": "2"}})");
  EXPECT_EQ(plain->borderWidth, 0);
  EXPECT_TRUE(plain->clipsToBounds);
}

TEST_F(KLPopupViewsTest, ButtonsAndLinksHaveTitlesAndActions) {
  const auto button =
      views(R"({"type": "button", "layout": {"width": "80", "height": "30"}, "properties": {"font": "16", "text": "OK",
      "color": {"g": 255, "a": 1}}, "action": {"IOS": [{"type": "close"}]}})");
  EXPECT_EQ(button->kind(), Kind::Button);
  EXPECT_EQ(button->text->text, "OK");
  EXPECT_EQ(button->text->fontSize, 16);
  EXPECT_EQ(button->text->color, (KLColor{0, 1, 0, 1}));
  EXPECT_FALSE(button->text->underline);
  EXPECT_EQ(button->popupActions.size(), 1u);
  EXPECT_TRUE(button->userInteractionEnabled);
  EXPECT_EQ(button->elementModel, model->element);

  const auto link = views(R"({"type": "link", "properties": {"font": "12", "text": "more", "backgroundColor": {"a": 1}}})");
  EXPECT_TRUE(link->text->underline);
  EXPECT_EQ(link->text->color, (KLColor{0, 0, 0, 1}));
  EXPECT_EQ(link->backgroundColor, std::nullopt);
  EXPECT_EQ(views(R"({"type": "link", "properties": {"text": ""}})")->text, std::nullopt);
}

TEST_F(KLPopupViewsTest, ADrawnPlaceholderStandsUntilThePictureComes) {
  const auto image = views(R"({"type": "image", "layout": {"width": "200", "height": "100"}, "properties": {"cornerRadius": "4",
      "image": "https://e.com/a.gif"}, "action": {"IOS": [{"type": "close"}]}, "subviews": [{"type": "link"}]})");
  int displays = 0;
  image->onDisplayNeeded = [&] { ++displays; };
  EXPECT_EQ(image->cornerRadius, 4);
  EXPECT_EQ(image->popupActions.size(), 1u);
  EXPECT_EQ(image->subviews().size(), 1u);
  downloads.threading.run();
  ASSERT_EQ(image->subviews().size(), 2u);
  const KLView& placeholder = *image->subviews()[0];
  EXPECT_EQ(placeholder.frame, (KLRect{0, 0, 200, 100}));
  EXPECT_EQ(placeholder.backgroundColor, (KLColor{0, 41 / 255.0, 0.4, 0.06}));
  ASSERT_EQ(placeholder.subviews().size(), 2u);
  const KLView& caption = *placeholder.subviews()[1];
  EXPECT_EQ(caption.text->text, "图片暂未加载");
  EXPECT_EQ(caption.text->fontSize, 12);
  EXPECT_EQ(caption.text->color, (KLColor{0, 15 / 255.0, 38 / 255.0, 0.2}));
  EXPECT_EQ(displays, 1);

  downloads.answerAll(testing::smallGIF());
  EXPECT_NE(image->image, nullptr);
  ASSERT_EQ(image->subviews().size(), 1u);
  EXPECT_EQ(image->subviews()[0]->kind(), Kind::Button);
  EXPECT_EQ(displays, 2);
}

TEST_F(KLPopupViewsTest, ThePlaceholderStaysWithoutAPictureOrAURL) {
  const auto broken = views(R"({"type": "image", "layout": {"width": "200"}, "properties": {"image": "https://e.com/a.gif"}})");
  downloads.answerAll({1, 2, 3});
  EXPECT_EQ(broken->image, nullptr);
  EXPECT_EQ(broken->subviews().size(), 1u);
  for (const char* json : {R"({"type": "image", "properties": {"image": ""}})",
                           R"({"type": "image", "properties": {"image": "no url"}})", R"({"type": "image"})"}) {
    EXPECT_EQ(views(json)->subviews().size(), 1u) << json;
  }
  EXPECT_EQ(downloads.session.size(), 1u);
}

TEST_F(KLPopupViewsTest, TheIconKeepsItsShapeAndShrinksWhereTheHeightIsShort) {
  writeFile(resources / "Kaleo.bundle/placeholder.png", testing::smallGIF());
  const auto tall = views(R"({"type": "image", "layout": {"width": "200", "height": "300"}})");
  const KLRect icon = tall->subviews()[0]->subviews()[0]->frame;
  EXPECT_NE(tall->subviews()[0]->subviews()[0]->image, nullptr);
  EXPECT_EQ(icon.width, 60);
  EXPECT_EQ(icon.height, 60);
  EXPECT_EQ(icon.x, 70);
  const KLRect caption = tall->subviews()[0]->subviews()[1]->frame;
  EXPECT_EQ(caption.y, icon.maxY() + 8);
  EXPECT_DOUBLE_EQ(icon.y, 300 - caption.maxY()) << "centred together";

  const auto low = views(R"({"type": "image", "layout": {"width": "200", "height": "60"}})");
  const KLRect small = low->subviews()[0]->subviews()[0]->frame;
  EXPECT_DOUBLE_EQ(small.width, small.height);
  EXPECT_LT(small.width, 60);
  EXPECT_GE(small.y, 0);
  EXPECT_DOUBLE_EQ(small.x + small.width / 2, 100);
}

TEST_F(KLPopupViewsTest, TheApplicationsPlaceholderIsTakenByNameThenFromData) {
  options.setPlaceholderImage(KLValue(testing::smallGIF()));
  EXPECT_NE(views(R"({"type": "image"})")->image, nullptr);
  writeFile(resources / "mine.png", testing::smallGIF());
  options.setPlaceholderImageName("mine");
  const auto named = views(R"({"type": "image"})");
  EXPECT_NE(named->image, nullptr);
  EXPECT_TRUE(named->subviews().empty());
  options.setPlaceholderImageName("gone");
  const auto gone = views(R"({"type": "image"})");
  EXPECT_EQ(gone->image, nullptr);
  EXPECT_TRUE(gone->subviews().empty());
}

TEST_F(KLPopupViewsTest, AButtonsBackgroundColourIsThePlaceholdersWhileItLoads) {
  const auto button =
      views(R"({"type": "image_button", "properties": {"image": "https://e.com/a.gif", "backgroundColor": {"r": 255, "a": 1}}})");
  EXPECT_EQ(button->backgroundColor, (KLColor{1, 0, 0, 1}));
  downloads.threading.run();
  EXPECT_EQ(button->backgroundColor, (KLColor{0, 41 / 255.0, 0.4, 0.06}));
  downloads.answerAll({1, 2, 3});
  EXPECT_EQ(button->backgroundColor, (KLColor{1, 0, 0, 1}));
  EXPECT_EQ(button->backgroundImage, nullptr);
  EXPECT_EQ(views(R"({"type": "button", "properties": {"image": ""}})")->backgroundColor, (KLColor{0, 41 / 255.0, 0.4, 0.06}));

  const auto loaded = views(R"({"type": "button", "properties": {"image": "https://e.com/b.gif"}})");
  downloads.answerAll(testing::smallGIF());
  EXPECT_NE(loaded->backgroundImage, nullptr);
  EXPECT_EQ(loaded->backgroundColor, std::nullopt);
  const auto cached = views(R"({"type": "button", "properties": {"image": "https://e.com/b.gif"}})");
  downloads.threading.run();
  EXPECT_NE(cached->backgroundImage, nullptr);
}

TEST_F(KLPopupViewsTest, AButtonsLocalImageWinsOverItsURL) {
  writeFile(resources / "Kaleo.bundle/close.png", testing::smallGIF());
  const auto button = views(R"({"type": "button", "properties": {"image": "https://e.com/a.gif", "localImageName": "close"}})");
  downloads.threading.run();
  EXPECT_NE(button->backgroundImage, nullptr);
  EXPECT_EQ(downloads.session.size(), 0u);
}

TEST_F(KLPopupViewsTest, AViewThatIsGoneIsSkipped) {
  auto column = views(R"({"type": "column", "subviews": [{"type": "image", "properties": {"image": "https://e.com/a.gif"}},
      {"type": "button", "properties": {"image": "https://e.com/a.gif"}}]})");
  column.reset();
  downloads.answerAll(testing::smallGIF());
  EXPECT_EQ(downloads.session.size(), 1u);
}

}  // namespace
}  // namespace kaleo
