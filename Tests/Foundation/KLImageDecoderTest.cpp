#include "Foundation/KLImageDecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Support/Pictures.h"

namespace kaleo {
namespace {

using KLImageDecoder::decode;
using KLImageDecoder::Format;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Pointwise;
using ::testing::Truly;
using Samples = std::vector<std::uint8_t>;

constexpr spng_ihdr pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t depth, std::uint8_t type,
                              bool interlaced = false) {
  return {width, height, depth, type, 0, 0, static_cast<std::uint8_t>(interlaced ? 1 : 0)};
}

Samples pixelsOf(const KLBytes& data) {
  const auto image = decode(data);
  return image ? image->frame(0)->rgba : Samples{};
}

Samples solid(int pixels, const Samples& one) {
  Samples samples;
  for (int i = 0; i < pixels; ++i) samples.insert(samples.end(), one.begin(), one.end());
  return samples;
}

MATCHER_P(About, expected, "") {
  if (arg.size() < 4) return false;
  for (std::size_t i = 0; i < 4; ++i) {
    if (std::abs(arg[i] - expected[i]) > 3) return false;
  }
  return true;
}

TEST(KLImageDecoder, TellsFormatsByTheFirstByte) {
  EXPECT_EQ(KLImageDecoder::formatOf({0x47}), Format::GIF);
  EXPECT_EQ(KLImageDecoder::formatOf({0xFF, 0xD8}), Format::JPEG);
  EXPECT_EQ(KLImageDecoder::formatOf({0x89}), Format::PNG);
  EXPECT_EQ(KLImageDecoder::formatOf({'R', 'I', 'F', 'F'}), Format::Unknown);
  EXPECT_EQ(KLImageDecoder::formatOf({}), Format::Unknown);
  EXPECT_FALSE(decode({}));
  EXPECT_FALSE(decode({'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'}));
  EXPECT_FALSE(decode({0x47}));
  EXPECT_FALSE(decode({0xFF}));
  EXPECT_FALSE(decode({0x89}));
}

TEST(KLImageDecoder, PremultipliesPNGColoursWithAlpha) {
  const auto png =
      testing::makePNG(pngHeader(3, 1, 8, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA), {255, 128, 0, 255, 255, 128, 0, 128, 255, 128, 0, 0});
  EXPECT_THAT(pixelsOf(png), ElementsAre(255, 128, 0, 255, 128, 64, 0, 128, 0, 0, 0, 0));
}

TEST(KLImageDecoder, ReadsEveryKindOfPNG) {
  EXPECT_THAT(pixelsOf(testing::makePNG(pngHeader(2, 1, 8, SPNG_COLOR_TYPE_TRUECOLOR), {1, 2, 3, 4, 5, 6})),
              ElementsAre(1, 2, 3, 255, 4, 5, 6, 255));
  EXPECT_THAT(pixelsOf(testing::makePNG(pngHeader(8, 1, 1, SPNG_COLOR_TYPE_GRAYSCALE), {0b10000000})).at(0), 255);
  EXPECT_THAT(pixelsOf(testing::makePNG(pngHeader(1, 1, 8, SPNG_COLOR_TYPE_GRAYSCALE_ALPHA), {200, 51})),
              ElementsAre(40, 40, 40, 51));
  EXPECT_THAT(pixelsOf(testing::makePNG(pngHeader(1, 1, 16, SPNG_COLOR_TYPE_TRUECOLOR), {0, 0xFF, 0, 0x80, 0, 0})),
              ElementsAre(0xFF, 0x80, 0, 255));

  spng_plte palette{2, {{10, 20, 30, 0}, {40, 50, 60, 0}}};
  spng_trns transparency{};
  transparency.n_type3_entries = 1;
  EXPECT_THAT(pixelsOf(testing::makePNG(pngHeader(2, 1, 8, SPNG_COLOR_TYPE_INDEXED), {0, 1}, &palette, &transparency)),
              ElementsAre(0, 0, 0, 0, 40, 50, 60, 255));

  Samples ramp(9 * 9);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<std::uint8_t>(i);
  EXPECT_EQ(pixelsOf(testing::makePNG(pngHeader(9, 9, 8, SPNG_COLOR_TYPE_GRAYSCALE, true), ramp)),
            pixelsOf(testing::makePNG(pngHeader(9, 9, 8, SPNG_COLOR_TYPE_GRAYSCALE), ramp)));
}

TEST(KLImageDecoder, BringsEveryKindOfJPEGToRGB) {
  EXPECT_THAT(pixelsOf(testing::makeJPEG(8, 8, 3, solid(64, {200, 100, 50}))), About(Samples{200, 100, 50, 255}));
  EXPECT_THAT(pixelsOf(testing::makeJPEG(8, 8, 1, solid(64, {77}))), About(Samples{77, 77, 77, 255}));
  EXPECT_THAT(pixelsOf(testing::makeJPEG(8, 8, 4, solid(64, {255, 128, 0, 255}))), About(Samples{255, 128, 0, 255}));
  EXPECT_THAT(pixelsOf(testing::makeJPEG(8, 8, 4, solid(64, {255, 128, 0, 128}))), About(Samples{128, 64, 0, 255}));
}

TEST(KLImageDecoder, StillPicturesHaveOneFrameThatStandsForEver) {
  const auto image = decode(testing::makePNG(pngHeader(3, 2, 8, SPNG_COLOR_TYPE_GRAYSCALE), Samples(6)));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixelWidth(), 3);
  EXPECT_EQ(image->pixelHeight(), 2);
  EXPECT_EQ(image->frameCount(), 1u);
  EXPECT_EQ(image->duration(), 0);
  EXPECT_EQ(image->frame(1), nullptr);
}

TEST(KLImageDecoder, TurnsPhotographsUpright) {
  Samples halves;  // left red, right blue
  for (int i = 0; i < 16 * 8; ++i) {
    const auto colour = i % 16 < 8 ? Samples{255, 0, 0} : Samples{0, 0, 255};
    halves.insert(halves.end(), colour.begin(), colour.end());
  }
  const KLBytes rightTop{'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0};
  const auto image = decode(testing::makeJPEG(16, 8, 3, halves, rightTop));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixelWidth(), 8);
  EXPECT_EQ(image->pixelHeight(), 16);
  EXPECT_THAT(image->frame(0)->rgba, About(Samples{255, 0, 0, 255}));
  EXPECT_THAT(Samples(image->frame(0)->rgba.end() - 4, image->frame(0)->rgba.end()), About(Samples{0, 0, 255, 255}));
}

TEST(KLImageDecoder, RefusesWhatTheHeaderDeclaresTooLarge) {
  const auto png = testing::makePNG(pngHeader(4, 4, 8, SPNG_COLOR_TYPE_GRAYSCALE), Samples(16));
  EXPECT_FALSE(decode(png, {.maxPixels = 15}));
  EXPECT_FALSE(decode(png, {.maxTotalBytes = 63}));
  EXPECT_FALSE(decode(png, {.maxBytes = png.size() - 1}));
  EXPECT_TRUE(decode(png, {.maxBytes = png.size(), .maxPixels = 16, .maxTotalBytes = 64}));

  auto jpeg = testing::makeJPEG(8, 8, 3, Samples(8 * 8 * 3));
  const KLBytes size{0xFF, 0xC0, 0, 17, 8};
  const auto header = std::search(jpeg.begin(), jpeg.end(), size.begin(), size.end());
  ASSERT_NE(header, jpeg.end());
  std::fill_n(header + 5, 4, std::uint8_t{0xF0});  // 61680 times 61680
  EXPECT_FALSE(decode(jpeg));
}

/// One picture of each format, small enough to break at every byte.
std::vector<KLBytes> samplesOfAllFormats() {
  return {testing::makePNG(pngHeader(5, 5, 8, SPNG_COLOR_TYPE_GRAYSCALE, true), solid(25, {90})),
          testing::makeJPEG(9, 9, 3, solid(81, {10, 200, 30})), testing::makeJPEG(9, 9, 4, solid(81, {10, 200, 30, 99})),
          testing::makeGIF(4, 4,
                           {{.width = 4, .height = 4, .indices = Samples(16, 2)}, {.left = 2, .width = 3, .indices = {1, 2, 3}}})};
}

void playThrough(const std::shared_ptr<const KLImage>& image) {
  for (std::size_t i = 0; image && i < image->frameCount(); ++i) {
    const auto frame = image->frame(i);
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->rgba.size(), static_cast<std::size_t>(frame->width) * static_cast<std::size_t>(frame->height) * 4);
  }
}

KLBytes firstOf(const KLBytes& data, std::size_t length) {
  return {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length)};
}

TEST(KLImageDecoder, SurvivesABreakAtEveryByte) {
  for (const auto& whole : samplesOfAllFormats()) {
    for (std::size_t length = 0; length < whole.size(); ++length) playThrough(decode(firstOf(whole, length)));
  }
}

Samples grain(int count) {
  Samples samples;
  for (unsigned i = 0, value = 1; i < static_cast<unsigned>(count); ++i) {
    samples.push_back(static_cast<std::uint8_t>((value = value * 1'103'515'245 + 12'345) >> 16));
  }
  return samples;
}

TEST(KLImageDecoder, ShowsWhatCameOfAPictureThatBreaksOff) {
  constexpr int kSide = 64;
  auto indices = grain(kSide * kSide);
  for (auto& index : indices) index %= 4;
  const std::vector<KLBytes> pictures{
      testing::makePNG(pngHeader(kSide, kSide, 8, SPNG_COLOR_TYPE_TRUECOLOR), grain(kSide * kSide * 3)),
      testing::makeJPEG(kSide, kSide, 3, grain(kSide * kSide * 3)),
      testing::makeGIF(kSide, kSide, {{.width = kSide, .height = kSide, .indices = indices}})};
  for (const auto& data : pictures) {
    const Samples whole = pixelsOf(data);
    std::size_t shownBefore = 0;
    for (const std::size_t part : {40u, 60u, 90u}) {
      SCOPED_TRACE(part);
      const Samples pixels = pixelsOf(firstOf(data, data.size() * part / 100));
      ASSERT_EQ(pixels.size(), whole.size());
      std::size_t shown = 0;  // bytes up to the first transparent pixel; the whole has none
      while (shown < pixels.size() && pixels[shown + 3] != 0) shown += 4;
      EXPECT_GT(shown, shownBefore) << "more of it the more came";
      EXPECT_EQ(shown % (kSide * 4), 0u) << "whole rows";
      EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + static_cast<std::ptrdiff_t>(shown), whole.begin()));
      EXPECT_TRUE(
          std::all_of(pixels.begin() + static_cast<std::ptrdiff_t>(shown), pixels.end(), [](auto byte) { return byte == 0; }));
      shownBefore = shown;
    }
    EXPECT_FALSE(decode(firstOf(data, 20))) << "nothing came";
  }
}

TEST(KLImageDecoder, ShowsAnInterlacedPictureThatBreaksOffCoarsely) {
  constexpr int kSide = 64;
  const auto data = testing::makePNG(pngHeader(kSide, kSide, 8, SPNG_COLOR_TYPE_GRAYSCALE, true), grain(kSide * kSide));
  const Samples whole = pixelsOf(data), part = pixelsOf(firstOf(data, data.size() / 3));  // of whose passes five hold a quarter
  ASSERT_EQ(part.size(), whole.size());
  for (std::size_t y = 0; y < kSide; ++y) {
    for (std::size_t x = 0; x < kSide; ++x) {
      ASSERT_EQ(part[(y * kSide + x) * 4], whole[((y - y % 2) * kSide + x - x % 2) * 4]) << x << ", " << y;
    }
  }
}

TEST(KLImageDecoder, SurvivesEveryDamagedByte) {
  const KLImageDecoder::Limits limits{.maxPixels = 1 << 16};
  for (const auto& whole : samplesOfAllFormats()) {
    for (std::size_t i = 0; i < whole.size(); ++i) {
      for (const std::uint8_t flipped : {0x01, 0x10, 0x80, 0xFF}) {
        auto damaged = whole;
        damaged[i] ^= flipped;
        playThrough(decode(damaged, limits));
      }
    }
  }
}

}  // namespace
}  // namespace kaleo
