#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "Foundation/PictureSuites/PictureSuites.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;
namespace suites = testing::PictureSuites;
using Settings = std::map<std::string, std::string>;
using Sections = std::map<std::string, Settings>;

constexpr const char* kSuite = "gdk-pixbuf";
constexpr double kDefaultDelay = 0.1;

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// "[section]" and "key = value" by lines.
Sections sectionsOf(const fs::path& file) {
  Sections sections;
  std::ifstream stream(file);
  for (std::string line, section; std::getline(stream, line);) {
    const auto equals = line.find('=');
    if (line.starts_with('[')) {
      section = line.substr(1, line.find(']') - 1);
    } else if (equals != std::string::npos && !line.starts_with('#')) {
      sections[section][trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
    }
  }
  return sections;
}

/// What the suite expects of one file: straight RGBA of each frame, and delays.
struct Expected {
  struct Frame {
    KLBytes pixels;
    double delay;
  };
  fs::path file;
  std::vector<Frame> frames;
};

Expected expectedBy(const fs::path& configuration) {
  auto sections = sectionsOf(configuration);
  const auto folder = configuration.parent_path();
  Expected expected{folder / sections["config"]["input"], {}};
  std::stringstream names(sections["config"]["frames"]);
  for (std::string name; std::getline(names, name, ',');) {
    auto& frame = sections[trimmed(name)];
    const auto& delay = frame["delay"];
    expected.frames.push_back({suites::bytesOf(folder / frame["pixels"]), delay.empty() ? kDefaultDelay : std::stod(delay) / 100});
  }
  return expected;
}

/// Colours of what is transparent say nothing.
KLBytes withoutHiddenColours(KLBytes rgba) {
  for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
    if (rgba[i + 3] == 0) std::fill_n(rgba.begin() + static_cast<std::ptrdiff_t>(i), 3, std::uint8_t{0});
  }
  return rgba;
}

/// Where the suite expects something else than browsers show, which is what is wanted.
bool isExpectedOtherwise(const std::string& name) {
  static const std::set<std::string> kNames{
      "plain-text",      // the picture behind the text, which no viewer draws
      "invalid-colors",  // transparent where a colour is none of the palette
      "max-codes",       // refused: codes of more bits than a colour has
  };
  return kNames.contains(name);
}

/// The names of the files that the suite's own test looks at; those that its library does not show right are commented out there.
std::vector<std::string> namesIn(const fs::path& folder) {
  std::ifstream stream(folder / "TESTS");
  std::vector<std::string> names;
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && !line.starts_with('#') && !isExpectedOtherwise(trimmed(line))) names.push_back(trimmed(line));
  }
  return names;
}

TEST(GIFSuite, EveryFrameLooksAsTheSuiteExpects) {
  KALEO_REQUIRE_SUITE(kSuite);
  const auto folder = suites::directory() / kSuite / "tests" / "test-images" / "gif-test-suite";
  int compared = 0;
  for (const auto& name : namesIn(folder)) {
    SCOPED_TRACE(name);
    const auto expected = expectedBy(folder / (name + ".conf"));
    const auto image = KLImageDecoder::decode(suites::bytesOf(expected.file));
    ASSERT_EQ(image ? image->frameCount() : 0, expected.frames.size());
    for (std::size_t i = 0; i < expected.frames.size(); ++i, ++compared) {
      EXPECT_EQ(image->frame(i)->rgba, withoutHiddenColours(expected.frames[i].pixels)) << "frame " << i;
      EXPECT_DOUBLE_EQ(image->delay(i), expected.frames[i].delay) << "frame " << i;
    }
  }
  EXPECT_GT(compared, 80);
}

/// Files of other suites, with the number of their frames; 0: refused.
TEST(GIFSuite, OtherFilesHaveTheirFramesOrAreRefused) {
  const std::map<std::string, std::size_t> frames{
      {"gdk-pixbuf/tests/1_partyanimsm2.gif", 45}, {"gdk-pixbuf/tests/aero.gif", 56}, {"gdk-pixbuf/tests/circular-table.gif", 9},
      {"gdk-pixbuf/tests/test-animation.gif", 10}, {"giflib/pic/fire.gif", 33},       {"giflib/pic/welcome2.gif", 6}};
  KALEO_REQUIRE_SUITE("giflib");
  for (const auto* suite : {"gdk-pixbuf", "giflib", "libjpeg-turbo"}) {
    for (const auto& file : suites::filesOf(suite, ".gif")) {
      const auto name = suites::nameOf(file);
      if (name.find("gif-test-suite") != std::string::npos) continue;
      SCOPED_TRACE(name);
      // A single picture that breaks off half way is shown as far as it came.
      const bool refused = file.parent_path().filename() == "fail" && file.filename() != "invalid.4.gif";
      const auto known = frames.find(name);
      const auto image = KLImageDecoder::decode(suites::bytesOf(file));
      ASSERT_EQ(image ? image->frameCount() : 0, refused ? 0 : known == frames.end() ? 1 : known->second);
      for (std::size_t i = 0; image && i < image->frameCount(); ++i) EXPECT_TRUE(image->frame(i));
    }
  }
}

}  // namespace
}  // namespace kaleo
