#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "Foundation/KLFile.h"
#include "Foundation/KLImageDecoder.h"
#include "Support/SourceDirectory.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Ge;
using ::testing::Le;

const fs::path kCampaigns = testing::sourceDirectory() / "Examples" / "Campaigns";
const fs::path kBundle = testing::sourceDirectory() / "Resources" / "Kaleo.bundle";

std::shared_ptr<const KLImage> pictureAt(const fs::path& path) {
  const auto data = KLFile::read(path);
  return data ? KLImageDecoder::decode(*data) : nullptr;
}

/// The pictures that the layouts name, found as the library finds those that it fetches ahead.
std::set<std::string> picturesNamed() {
  std::set<std::string> names;
  const std::regex field(R"(\"(?:image|backgroundImage)\":\"\{\{base\}\}/images/(.*?)\")");
  for (const auto& entry : fs::directory_iterator(kCampaigns / "layouts")) {
    const auto data = KLFile::read(entry.path()).value_or(KLBytes{});
    const std::string text(data.begin(), data.end());
    for (std::sregex_iterator match(text.begin(), text.end(), field), end; match != end; ++match) names.insert((*match)[1]);
  }
  return names;
}

TEST(KLSamplePictures, EveryPictureOfALayoutCanBeDecodedAndNoneIsLeftOver) {
  std::set<std::string> present;
  for (const auto& entry : fs::directory_iterator(kCampaigns / "images")) present.insert(entry.path().filename().string());
  EXPECT_EQ(picturesNamed(), present);
  for (const auto& name : present) EXPECT_TRUE(pictureAt(kCampaigns / "images" / name)) << name;
}

TEST(KLSamplePictures, TheSalePictureMoves) {
  const auto picture = pictureAt(kCampaigns / "images" / "spring-sale.gif");
  ASSERT_TRUE(picture);
  EXPECT_THAT(picture->frameCount(), AllOf(Ge(12u), Le(24u)));
  EXPECT_THAT(picture->duration(), AllOf(Ge(1.0), Le(4.0)));
  for (std::size_t i = 1; i < picture->frameCount(); ++i) EXPECT_NE(picture->frame(i)->rgba, picture->frame(i - 1)->rgba) << i;
}

TEST(KLSamplePictures, TheLibrarysIconsShowTheGroundThrough) {
  for (const auto* name : {"close.png", "placeholder.png"}) {
    const auto picture = pictureAt(kBundle / name);
    ASSERT_TRUE(picture) << name;
    EXPECT_EQ(picture->frame(0)->rgba[3], 0) << name;
  }
}

}  // namespace
}  // namespace kaleo
