#include "Campaign/Popup/Model/KLPopupPropertyModel.h"

#include <gtest/gtest.h>

#include <fstream>

#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/FakeHost.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

class KLPopupPropertyModelTest : public ::testing::Test {
 protected:
  double length(const char* json) { return dictionary_pixelForKey(&parsed(json), "v", reading); }
  std::optional<KLColor> color(const char* json) { return dictionary_colorForKey(&parsed(json), "v"); }
  KLPopupPropertyModel properties(const char* json) { return {parsed(json), reading}; }
  const KLValue& parsed(const char* json) { return value = KLJSON::parse(json).value(); }

  TemporaryDirectory bundle;
  testing::FakeHost host;
  KLLog log{host.registry};
  KLHeadlessScreen screen;
  KLPopupReading reading{screen, log, bundle.path()};
  KLValue value;
};

TEST_F(KLPopupPropertyModelTest, ValuesAreFoundUnlessMissingOrNull) {
  const KLValue object(KLObject{{"a", 0}, {"b", nullptr}});
  ASSERT_NE(dictionary_valueForKey(&object, "a"), nullptr);
  EXPECT_EQ(dictionary_valueForKey(&object, "b"), nullptr);
  EXPECT_EQ(dictionary_valueForKey(&object, "c"), nullptr);
  EXPECT_EQ(dictionary_valueForKey(nullptr, "a"), nullptr);
  const KLValue text("text");
  EXPECT_EQ(dictionary_valueForKey(&text, "a"), nullptr);
}

TEST_F(KLPopupPropertyModelTest, LengthsStayFinite) {
  EXPECT_EQ(length(R"({"v": "1e999"})"), kKLPopupMaxLength);
  EXPECT_EQ(length(R"({"v": "-1e999px"})"), -kKLPopupMaxLength);
  EXPECT_EQ(length(R"({"v": "1e300"})"), kKLPopupMaxLength);
}

TEST_F(KLPopupPropertyModelTest, ColoursAreObjectsWithoutAlphaTheyAreTransparent) {
  EXPECT_EQ(color(R"({"v": {"r": 255, "g": 0, "b": 0}})"), (KLColor{1, 0, 0, 0}));
  EXPECT_EQ(color(R"({"v": {"r": "51", "g": 102, "b": 0, "a": "0.5"}})"), (KLColor{51 / 255.0, 102 / 255.0, 0, 0.5}));
  EXPECT_EQ(color(R"({"v": {"r": 300, "g": -1, "a": 7}})"), (KLColor{1, 0, 0, 1}));
  EXPECT_EQ(color(R"({"v": {}})"), KLColor{});
  EXPECT_EQ(color(R"({"v": "#ff0000"})"), std::nullopt);
  EXPECT_EQ(color(R"({"v": null})"), std::nullopt);
}

TEST_F(KLPopupPropertyModelTest, EveryPropertyIsReadFromItsKey) {
  const auto read = properties(R"({
    "backgroundColor": {"r": 255, "a": 1}, "borderWidth": "2px", "borderColor": {"g": 255, "a": 1}, "color": {"b": 255, "a": 1},
    "cornerRadius": "8px", "font": "14px", "image": "https://e.com/i", "backgroundImage": "https://e.com/b", "msgType": "title",
    "maskColor": {"a": 1}, "text": "hello", "scrollableY": true, "textAlign": "right", "closeEnabled": true, "closeStyle": "x"})");
  EXPECT_EQ(read.backgroundColor, (KLColor{1, 0, 0, 1}));
  EXPECT_EQ(read.borderWidth, 2);
  EXPECT_EQ(read.borderColor, (KLColor{0, 1, 0, 1}));
  EXPECT_EQ(read.color, (KLColor{0, 0, 1, 1}));
  EXPECT_EQ(read.cornerRadius, 8);
  EXPECT_EQ(read.font, 14);
  EXPECT_EQ(read.image, "https://e.com/i");
  EXPECT_EQ(read.backgroundImage, "https://e.com/b");
  EXPECT_EQ(read.msgType, "title");
  EXPECT_EQ(read.maskColor, (KLColor{0, 0, 0, 1}));
  EXPECT_EQ(read.text, "hello");
  EXPECT_TRUE(read.scrollableY);
  EXPECT_EQ(read.textAlign, KLTextAlignment::Right);
  EXPECT_FALSE(read.closeEnabled);
  EXPECT_EQ(read.closeStyle, std::nullopt);
  EXPECT_EQ(properties(R"({"textAlign": "center"})").textAlign, KLTextAlignment::Center);
  EXPECT_EQ(properties(R"({"textAlign": "justify"})").textAlign, KLTextAlignment::Left);
  EXPECT_EQ(properties(R"({"text": 5, "image": ["x"]})").text, std::nullopt);
}

TEST_F(KLPopupPropertyModelTest, LocalImagesAreFilesOfTheBundle) {
  std::ofstream(bundle / "close.png") << "png";
  EXPECT_EQ(properties(R"({"localImageName": "close"})").localImage, (bundle / "close.png").string());
  EXPECT_EQ(properties(R"({"localImageName": "missing"})").localImage, std::nullopt);
  const auto outside = "{\"localImageName\": \"../" + bundle.path().filename().string() + "/close\"}";
  EXPECT_EQ(properties(outside.c_str()).localImage, std::nullopt);
  const auto absolute = "{\"localImageName\": \"" + (bundle / "close").string() + "\"}";
  EXPECT_EQ(properties(absolute.c_str()).localImage, std::nullopt);
}

TEST_F(KLPopupPropertyModelTest, TheStyledTextIsMadeOnceAndKept) {
  auto read = properties(R"({"text": "hello", "font": "20", "textAlign": "center", "color": {"r": 255, "a": 1}})");
  const auto first = read.attributedText();
  EXPECT_EQ(first, (KLAttributedText{"hello", 20, KLColor{1, 0, 0, 1}, 1, 4, KLTextAlignment::Center, false}));
  read.text = "changed";
  read.font = 30;
  EXPECT_EQ(read.attributedText(), first);

  auto empty = properties(R"({"text": "", "font": "20"})");
  EXPECT_EQ(empty.attributedText(), std::nullopt);
  empty.text = "later";
  EXPECT_EQ(empty.attributedText()->text, "later");
}

}  // namespace
}  // namespace kaleo
