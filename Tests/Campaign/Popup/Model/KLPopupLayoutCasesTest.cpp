// The cases in cases/*.json: a template, and the frames that laying it out gives, worked out by hand on the fixed metrics (every
// character half the font size wide, a line 1.2 times as high). Each says why.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/FakeHost.h"
#include "Support/SourceDirectory.h"

namespace kaleo {
namespace {

constexpr const char* kTypeNames[] = {"Row", "Column", "Label", "Image", "Button", "Link"};

std::filesystem::path casesDirectory() { return testing::sourceDirectory() / "Tests/Campaign/Popup/Model/cases"; }

std::vector<std::string> caseNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(casesDirectory())) names.push_back(entry.path().stem());
  std::sort(names.begin(), names.end());
  return names;
}

std::string testName(const ::testing::TestParamInfo<std::string>& given) {
  std::string name = given.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

KLValue readCase(const std::string& name) {
  std::ifstream file(casesDirectory() / (name + ".json"));
  std::stringstream text;
  text << file.rdbuf();
  return KLJSON::parse(text.str()).value_or(KLValue());
}

std::string lines(const KLValue* list) {
  std::string text;
  for (const KLValue& line : list ? list->asArray() : KLValue::Array{}) text += line.asString() + "\n";
  return text;
}

void dump(const KLPopupElementModel& element, int depth, std::string& text) {
  const KLRect frame = element.frame();
  text += fmt::format("{:{}}{} {} {} {} {}{}\n", "", depth * 2, kTypeNames[static_cast<int>(element.type)], frame.x, frame.y,
                      frame.width, frame.height, element.propertiesOrNone().scrollableY ? " scrolls" : "");
  for (const auto& child : element.subviews) dump(*child, depth + 1, text);
}

class KLPopupLayoutCasesTest : public ::testing::TestWithParam<std::string> {};

TEST_P(KLPopupLayoutCasesTest, HasTheExpectedFrames) {
  const KLValue data = readCase(GetParam());
  ASSERT_TRUE(data.isObject());
  const KLValue* size = data.find("screen");
  KLHeadlessScreen screen;
  if (size) screen.setSize({size->asArray().at(0).asDouble(), size->asArray().at(1).asDouble()});
  testing::FakeHost host;
  const KLLog log(host.registry);
  const KLPopupReading reading{screen, log, {}};

  const auto element = KLPopupElementModelFactory(reading).elementModelWithDictionary(*data.find("template"));
  element->layoutWithContainerWidth(KLShorterSide(screen), KLFixedTextMeasurer());

  std::string found;
  dump(*element, 0, found);
  EXPECT_EQ(found, lines(data.find("expected")));
  std::string logged;
  for (const auto& line : host.log->lines()) logged += line.message + "\n";
  EXPECT_EQ(logged, lines(data.find("log")));
}

INSTANTIATE_TEST_SUITE_P(Cases, KLPopupLayoutCasesTest, ::testing::ValuesIn(caseNames()), testName);

}  // namespace
}  // namespace kaleo
