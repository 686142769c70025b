#include "Platform/Headless/KLHeadlessPresentation.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

KLSize measure(const char* text, double fontSize, double width) {
  KLAttributedText attributed;
  attributed.text = text;
  attributed.fontSize = fontSize;
  return KLFixedTextMeasurer().measure(attributed, width);
}

TEST(KLFixedTextMeasurerTest, BreaksAtTheWidthAndAtLineFeeds) {
  EXPECT_EQ(measure("abcd", 10, 100), (KLSize{20, 12}));
  EXPECT_EQ(measure("abcd", 10, 20), (KLSize{20, 12}));
  EXPECT_EQ(measure("abcde", 10, 20), (KLSize{20, 24}));
  EXPECT_EQ(measure("ab\ncde", 10, 100), (KLSize{15, 24}));
  EXPECT_EQ(measure("ab\n", 10, 100), (KLSize{10, 24}));
  EXPECT_EQ(measure("\n\n", 10, 100), (KLSize{0, 36}));
}

TEST(KLFixedTextMeasurerTest, CountsCharactersAndHoldsAtLeastOneALine) {
  EXPECT_EQ(measure("图片暂未", 10, 10), (KLSize{10, 24}));
  EXPECT_EQ(measure("abc", 10, 1), (KLSize{5, 36}));
  EXPECT_EQ(measure("abc", 10, -7), (KLSize{5, 36}));
  EXPECT_EQ(measure("", 10, 100), KLSize{});
  EXPECT_EQ(measure("abc", 0, 100), KLSize{});
}

TEST(KLHeadlessPresentationTest, ScreenAndPasteboardKeepWhatTheyAreGiven) {
  KLHeadlessScreen screen;
  EXPECT_EQ(screen.size(), (KLSize{375, 812}));
  EXPECT_EQ(screen.scale(), 1);
  screen.setSize({414, 896});
  EXPECT_EQ(screen.size(), (KLSize{414, 896}));
  KLMemoryPasteboard pasteboard;
  pasteboard.setString("copied");
  EXPECT_EQ(pasteboard.string(), "copied");
}

}  // namespace
}  // namespace kaleo
