#include "preview/Preview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Foundation/KLJSON.h"
#include "Foundation/KLURL.h"
#include "Support/TemporaryDirectory.h"
#include "preview/PreviewDocument.h"

namespace kaleo::tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

constexpr const char* kLayout = R"({"template": {
  "type": "column", "layout": {"width": "1"}, "properties": {"backgroundImage": "back.png"}, "subviews": [
    {"type": "label", "layout": {"width": "100"}, "properties": {"font": "20", "text": "0123456789a\n"}},
    {"type": "image_button", "properties": {"text": ""}},
    {"layout": {"width": "62.5px"}, "subviews": [{"type": "badge", "properties": {"text": null}}]}
]}})";

class PreviewTest : public testing::Test {
 protected:
  fs::path write(const std::string& name, const std::string& text) const {
    const fs::path path = directory_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::string quoted(const std::string& text) const { return KLJSON::serialize(KLValue(text)); }

  /// Prints the frames of a file that holds `text`.
  int frames(const fs::path& file, KLSize screen = {375, 812}) {
    out_.str({});
    err_.str({});
    return preview({.file = file, .screen = screen, .frames = true, .fixedMetrics = true}, {out_, err_});
  }
  std::string faultOf(const std::string& text) {
    EXPECT_EQ(frames(write("faulty.json", text)), kCannotPreview);
    EXPECT_EQ(out_.str(), "");
    return err_.str();
  }

  TemporaryDirectory directory_;
  std::ostringstream out_, err_;
};

TEST_F(PreviewTest, PrintsFramesTypesAndTexts) {
  ASSERT_EQ(frames(write("layout.json", kLayout)), kPreviewed);
  EXPECT_EQ(out_.str(), R"({"type":"column","frame":[0,0,375,0]}
{"type":"label","frame":[0,0,100,76],"text":"0123456789a\n"}
{"type":"image_button","frame":[0,0,0,0],"text":""}
{"type":"row","frame":[0,0,63,0]}
{"type":"row","frame":[0,0,0,0]}
)");
  ASSERT_EQ(frames(directory_ / "layout.json", {750, 900}), kPreviewed);
  EXPECT_THAT(out_.str(), HasSubstr(R"({"type":"row","frame":[0,0,125,0]})"));
}

TEST_F(PreviewTest, FindsTheLayoutInPlansAnswersAndServedFiles) {
  write("user_popup_configs.json", "{}");
  ASSERT_EQ(frames(write("layouts/card.json", kLayout)), kPreviewed);
  const std::string expected = out_.str();
  const std::string content = R"({"popup_type": "PRESET", "content": )" + quoted(kLayout) + "}";
  for (const std::string& document :
       {content, R"({"plan_id": 7, "popup_window_content": )" + content + "}",
        std::string(R"({"name": "Card", "layout": "card.json"})"), "\xEF\xBB\xBF" + std::string(kLayout)}) {
    EXPECT_EQ(frames(write("popup_windows/1.json", document)), kPreviewed) << document << err_.str();
    EXPECT_EQ(out_.str(), expected);
  }
}

TEST_F(PreviewTest, SaysWhereAFaultIs) {
  EXPECT_THAT(faultOf("{\n  \"template\": {\"type\" \"row\"}\n}"), HasSubstr("faulty.json:2:23: expected ':'"));
  EXPECT_THAT(faultOf(R"({"content": )" + quoted("{\n\"template\": oops}") + "}"),
              HasSubstr("faulty.json: in \"content\":2:13: expected a value"));
  EXPECT_THAT(faultOf(R"({"template": []})"), HasSubstr("\"template\" is an object"));
  EXPECT_THAT(faultOf(R"({"cname": "no layout"})"), HasSubstr("there is no layout in here"));
  EXPECT_THAT(faultOf(R"({"layout": "gone.json"})"), HasSubstr("gone.json: cannot be read: No such file"));
  EXPECT_EQ(frames(directory_ / "nowhere.json"), kCannotPreview);
  EXPECT_THAT(err_.str(), HasSubstr("nowhere.json: cannot be read: No such file"));
}

TEST_F(PreviewTest, TellsWhatTheLibraryLogs) {
  ASSERT_EQ(frames(write("layout.json", R"({"template": {"layout": {"width": 200}}})")), kPreviewed);
  EXPECT_EQ(err_.str(), "Popup length \"width\" is not a string and reads 0: 200\n");
}

TEST_F(PreviewTest, FindsPicturesFromTheLayoutsFile) {
  write("user_popup_configs.json", "{}");
  const fs::path picture = write("images/a picture.png", "1");
  const auto urlOf = [&](const std::string& reference) {
    const fs::path file = write("layouts/card.json", R"({"template": {"subviews": [{"properties": {"image": )" + quoted(reference) +
                                                         R"(}}], "properties": {"text": "x"}}})");
    const PreviewDocument document = readPreviewDocument(file);
    const KLValue* properties = document.layout.find("template")->find("subviews")->asArray().front().find("properties");
    return properties->find("image")->asString();
  };
  const auto pathOf = [](const std::string& url) {
    return fs::path(KLPercentDecode(KLURL::parse(url)->path())).lexically_normal();
  };

  EXPECT_EQ(pathOf(urlOf("../images/a picture.png")), picture);
  EXPECT_EQ(pathOf(urlOf("{{base}}/images/a picture.png")), picture);
  EXPECT_EQ(pathOf(urlOf("file://" + picture.string())), picture);
  const std::string before = urlOf(picture.string());
  write("images/a picture.png", "another picture");
  EXPECT_NE(urlOf(picture.string()), before) << "a changed picture must not come from the cache";
  for (const char* elsewhere : {"", "https://shop.example/a.png", "https://shop.example/a b.png", "data:image/png;base64,AA"}) {
    EXPECT_EQ(urlOf(elsewhere), elsewhere);
  }
}

}  // namespace
}  // namespace kaleo::tools
