#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <fstream>
#include <sstream>

#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Platform/Qt/KLQtMainQueue.h"
#include "Support/TemporaryDirectory.h"
#include "preview/qt/FileWatch.h"
#include "preview/qt/PreviewPainting.h"
#include "preview/qt/PreviewWindow.h"

namespace kaleo::tools {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

/// A popup of one button 100 points wide and high, closed by a tap.
std::string buttonLayout(const std::string& color, const std::string& more = "") {
  return R"({"properties": {"maskColor": {"r": 0, "g": 0, "b": 0, "a": 0.5}}, "template": {"type": "button", "layout": )"
         R"({"width": "100", "height": "100"}, "properties": {"backgroundColor": )" +
         color + R"(}, "action": {"IOS": [{"type": "close", "id": "x", "closeable": true}]})" + more + "}}";
}
const std::string kRed = R"({"r": 255, "a": 1})", kGreen = R"({"g": 255, "a": 1})";

class PreviewOnQtTest : public testing::Test {
 protected:
  fs::path write(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
    return directory_ / name;
  }
  /// As editors do that keep the old file until the new one is whole.
  fs::path replace(const std::string& name, const std::string& text) const {
    fs::rename(write(name + "~", text), directory_ / name);
    return directory_ / name;
  }
  static bool runUntil(const std::function<bool()>& condition) {
    constexpr int kPatienceMilliseconds = 20'000;
    return QTest::qWaitFor(condition, kPatienceMilliseconds);
  }

  TemporaryDirectory directory_;
  std::ostringstream out_, err_;
};

TEST_F(PreviewOnQtTest, PaintsTheScreenWithThePicturesThatCome) {
  QImage black(2, 2, QImage::Format_RGB888);
  black.fill(Qt::black);
  black.save(QString::fromStdString((directory_ / "black.png").string()));
  const fs::path file = write("layout.json", R"({"properties": {"maskColor": {"a": 0.5}}, "template": {
    "type": "row", "layout": {"width": "100"}, "subviews": [
      {"type": "image", "layout": {"width": "50", "height": "100"}, "properties": {"image": "black.png"}},
      {"type": "button", "layout": {"width": "50", "height": "100"}, "properties": {"image": "gone.png", "backgroundColor": {"r": 255, "a": 1}}}
    ]}})");
  const PreviewHost host([](const std::string&) {});
  PreviewPictures pictures(std::make_shared<KLQtMainQueue>(), host.log());
  const KLHeadlessScreen screen({200, 300}, 2);
  const auto popup = layOut(readPreviewDocument(file), screen, KLFixedTextMeasurer(), host.log());
  std::vector<std::string> failures;
  const QImage picture =
      paintPreview(popup, {.screen = {200, 300}, .scale = 2}, pictures, [&](const auto& url, const auto& failure) {
        if (!failure.empty()) failures.push_back(url + ": " + failure);
      });

  EXPECT_EQ(picture.size(), QSize(400, 600));
  EXPECT_EQ(picture.pixelColor(0, 0), QColor(127, 127, 127)) << "white under half a black mask";
  // The content lies at (50, 80): centred, then 20 points up.
  EXPECT_EQ(picture.pixelColor(101, 161), QColor(Qt::black));
  EXPECT_EQ(picture.pixelColor(99, 161), QColor(127, 127, 127));
  EXPECT_EQ(picture.pixelColor(299, 359), QColor(Qt::red)) << "a button whose picture fails keeps its colour";
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_THAT(failures.front(), HasSubstr("gone.png: there is no such file"));
}

TEST_F(PreviewOnQtTest, NoticesEveryWayOfSaving) {
  const fs::path file = write("a.json", "1");
  write("other.json", "1");
  int changes = 0;
  FileWatch watch([&] { ++changes; });
  watch.follow({file});
  const auto changed = [&](int times) { return runUntil([&] { return changes == times; }); };
  write("other.json", "22");
  write("a.json", "22");
  EXPECT_TRUE(changed(1)) << "written in place";
  replace("a.json", "333");
  EXPECT_TRUE(changed(2)) << "replaced";
  replace("a.json", "4444");
  EXPECT_TRUE(changed(3)) << "replaced once more";
  write("a.json", "55555");
  EXPECT_TRUE(changed(4)) << "written in place after it was replaced";
  fs::remove(file);
  EXPECT_TRUE(changed(5)) << "taken away";
  write("a.json", "6");
  EXPECT_TRUE(changed(6)) << "there again";
}

TEST_F(PreviewOnQtTest, TheWindowFollowsTheFile) {
  const fs::path file = write("layout.json", buttonLayout(kRed));
  PreviewWindow window({.file = file, .screen = {200, 300}}, {out_, err_});
  window.show();
  const auto middle = [&] { return window.grab().toImage().pixelColor(100, 130); };
  const auto strip = [&] {
    const auto* label = window.findChild<QLabel*>();
    return label->isVisible() ? label->text().toStdString() : "";
  };
  EXPECT_TRUE(runUntil([&] { return middle() == QColor(Qt::red); }));
  EXPECT_EQ(strip(), "");

  write("layout.json", "{\n  oops");
  EXPECT_TRUE(runUntil([&] { return strip().find("layout.json:2:3: ") != std::string::npos; }));
  EXPECT_EQ(middle(), QColor(Qt::red)) << "the last good popup stays";
  EXPECT_THAT(err_.str(), HasSubstr("layout.json:2:3: "));

  replace("layout.json", buttonLayout(kGreen, R"(, "layout": {"width": "100", "height": "100", "maxHeight": 5})"));
  EXPECT_TRUE(runUntil([&] { return middle() == QColor(Qt::green); }));
  EXPECT_THAT(strip(), HasSubstr("\"maxHeight\" is not a string"));

  replace("layout.json", buttonLayout(kRed));
  EXPECT_TRUE(runUntil([&] { return middle() == QColor(Qt::red); }));
  auto* overlay = window.findChild<QWidget*>("KaleoPopup");
  ASSERT_NE(overlay, nullptr);
  EXPECT_TRUE(runUntil([&] {
    QTest::mouseClick(overlay, Qt::LeftButton, {}, QPoint(100, 130));
    return strip().find("Tapped: close \"x\"") != std::string::npos;
  }));
  EXPECT_TRUE(runUntil([&] { return strip().find("Click to show it again") != std::string::npos; }));
  QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(100, 130));
  EXPECT_TRUE(runUntil([&] { return middle() == QColor(Qt::red); }));
  EXPECT_EQ(strip(), "");
}

}  // namespace
}  // namespace kaleo::tools
