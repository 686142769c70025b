#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include "Foundation/KLImageDecoder.h"
#include "Support/Pictures.h"
#include "Support/PixelText.h"

namespace kaleo {
namespace {

using ::testing::ElementsAre;
using testing::GIFFrameSketch;
using testing::makeGIF;
using ::testing::Optional;

constexpr std::uint8_t K = 0, R = 1, G = 2, B = 3;

std::vector<std::string> framesOf(const KLBytes& gif) {
  const auto image = KLImageDecoder::decode(gif);
  if (!image) return {"no picture"};
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < image->frameCount(); ++i) texts.push_back(testing::pixelText(*image->frame(i)));
  return texts;
}

struct Disposal {
  int method;
  std::string last;
};

class GIFDisposal : public ::testing::TestWithParam<Disposal> {};

TEST_P(GIFDisposal, DecidesWhatTheNextFrameIsDrawnUpon) {
  const auto gif = makeGIF(3, 1,
                           {{.width = 3, .indices = {R, R, R}},
                            {.left = 1, .width = 2, .indices = {G, G}, .disposal = GetParam().method},
                            {.indices = {B}}});
  EXPECT_THAT(framesOf(gif), ElementsAre("RRR", "RGG", GetParam().last));
}

INSTANTIATE_TEST_SUITE_P(Methods, GIFDisposal,
                         ::testing::Values(Disposal{DISPOSAL_UNSPECIFIED, "BGG"}, Disposal{DISPOSE_DO_NOT, "BGG"},
                                           Disposal{DISPOSE_BACKGROUND, "B.."}, Disposal{DISPOSE_PREVIOUS, "BRR"},
                                           Disposal{4, "BRR"}, Disposal{5, "BGG"}, Disposal{7, "BGG"}));

TEST(KLGIFImage, RestoresWhatStoodBeforeARunOfPassingFrames) {
  const auto gif = makeGIF(2, 1,
                           {{.width = 2, .indices = {R, R}, .disposal = DISPOSE_PREVIOUS},
                            {.indices = {G}, .disposal = DISPOSE_PREVIOUS},
                            {.left = 1, .indices = {B}, .disposal = DISPOSE_BACKGROUND},
                            {.indices = {K}}});
  EXPECT_THAT(framesOf(gif), ElementsAre("RR", "G.", ".B", "K."));
}

TEST(KLGIFImage, LetsTheCanvasShineThroughTransparentPixels) {
  const auto gif = makeGIF(3, 1,
                           {{.width = 3, .indices = {R, G, B}, .transparent = G},
                            {.width = 3, .indices = {K, B, K}, .transparent = K},
                            {.width = 3, .indices = {K, K, K}, .disposal = DISPOSE_BACKGROUND, .transparent = K}});
  EXPECT_THAT(framesOf(gif), ElementsAre("R.B", "RBB", "RBB"));
}

TEST(KLGIFImage, ClipsFramesToTheCanvas) {
  const auto gif =
      makeGIF(2, 2,
              {{.width = 2, .height = 2, .indices = {R, R, R, R}},
               {.left = 1, .top = 1, .width = 2, .height = 3, .indices = {G, K, K, K, K, K}, .disposal = DISPOSE_BACKGROUND},
               {.left = 5, .top = 0, .indices = {B}, .disposal = DISPOSE_BACKGROUND},
               {.left = 0, .top = 9, .indices = {B}, .disposal = DISPOSE_BACKGROUND},
               {.width = 1, .height = 1, .indices = {B}}});
  EXPECT_THAT(framesOf(gif), ElementsAre("RR/RR", "RR/RG", "RR/R.", "RR/R.", "BR/R."));
}

TEST(KLGIFImage, PutsInterlacedRowsInOrder) {
  // Stored: every eighth row, then those between, from coarse to fine.
  const auto gif = makeGIF(1, 9, {{.height = 9, .indices = {K, R, R, G, G, B, B, B, B}, .interlaced = true}});
  EXPECT_THAT(framesOf(gif), ElementsAre("K/B/G/B/R/B/G/B/R"));
}

TEST(KLGIFImage, PrefersAFramesOwnPalette) {
  const auto gif =
      makeGIF(2, 1, {{.width = 2, .indices = {0, 1}}, {.width = 2, .indices = {0, 1}, .palette = {{0, 255, 0}, {0, 0, 255}}}});
  EXPECT_THAT(framesOf(gif), ElementsAre("KR", "GB"));
}

TEST(KLGIFImage, GivesACanvasWithoutSizeThatOfTheFirstFrame) {
  auto gif = makeGIF(3, 3, {{.width = 2, .indices = {R, G}}});
  std::fill_n(gif.begin() + 6, 4, std::uint8_t{0});
  EXPECT_THAT(framesOf(gif), ElementsAre("RG"));
}

TEST(KLGIFImage, PlaysFramesWithoutOrWithTinyDelayForATenthOfASecond) {
  const auto image = KLImageDecoder::decode(makeGIF(1, 1,
                                                    {{.indices = {R}, .delay = std::nullopt},
                                                     {.indices = {R}, .delay = 0},
                                                     {.indices = {R}, .delay = 1},
                                                     {.indices = {R}, .delay = 2},
                                                     {.indices = {R}, .delay = 150},
                                                     {.indices = {R}, .delay = std::nullopt}}));
  ASSERT_TRUE(image);
  std::vector<double> delays;
  for (std::size_t i = 0; i < image->frameCount(); ++i) delays.push_back(image->delay(i));
  EXPECT_THAT(delays, ElementsAre(0.1, 0.1, 0.1, 0.02, 1.5, 0.1));
  EXPECT_DOUBLE_EQ(image->duration(), 1.92);
}

/// Each frame shows its own number in binary, and some pass without a trace.
KLBytes longAnimation() {
  std::vector<GIFFrameSketch> frames;
  for (int i = 0; i < 40; ++i) {
    frames.push_back({.left = i % 7, .indices = {static_cast<std::uint8_t>(i % 4)}, .disposal = i % 4});
  }
  return makeGIF(7, 1, frames);
}

TEST(KLGIFImage, ShowsTheSameFramesInAnyOrderAndFromManyThreads) {
  const auto gif = longAnimation();
  const auto expected = framesOf(gif);
  const auto image = KLImageDecoder::decode(gif);
  ASSERT_TRUE(image);
  ASSERT_EQ(image->frameCount(), 40u);
  const auto play = [&](std::size_t start, std::size_t step) {
    for (std::size_t turn = 0, i = start; turn < 120; ++turn, i = (i + step) % 40) {
      ASSERT_EQ(testing::pixelText(*image->frame(i)), expected[i]) << i;
    }
  };
  std::vector<std::thread> threads;
  for (const std::size_t step : {1u, 3u, 7u, 39u}) threads.emplace_back(play, step, step);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(image->frame(40), nullptr);
}

TEST(KLGIFImage, KeepsTheWholeFramesOfABrokenOffFile) {
  const auto gif = makeGIF(2, 1, {{.width = 2, .indices = {R, R}}, {.indices = {G}}});
  const auto whole = KLBytes(gif.begin(), gif.end() - 3);  // without the trailer and the end of the second frame
  EXPECT_THAT(framesOf(whole), ElementsAre("RR"));
}

TEST(KLGIFImage, RefusesWhatItsHeadersDeclareTooLarge) {
  const auto gif = longAnimation();
  EXPECT_FALSE(KLImageDecoder::decode(gif, {.maxBytes = gif.size() - 1}));
  EXPECT_FALSE(KLImageDecoder::decode(gif, {.maxPixels = 6}));
  EXPECT_FALSE(KLImageDecoder::decode(gif, {.maxFrames = 39}));
  EXPECT_FALSE(KLImageDecoder::decode(gif, {.maxTotalBytes = 40 * 7 * 4 - 1}));
  EXPECT_TRUE(KLImageDecoder::decode(gif, {.maxBytes = gif.size(), .maxPixels = 7, .maxFrames = 40, .maxTotalBytes = 40 * 7 * 4}));

  auto vast = gif;
  std::fill_n(vast.begin() + 6, 4, std::uint8_t{0xFF});
  EXPECT_FALSE(KLImageDecoder::decode(vast));
  // A frame much larger than its canvas costs its own size to unpack.
  EXPECT_FALSE(KLImageDecoder::decode(makeGIF(1, 1, {{.width = 9, .indices = {R, R, R, R, R, R, R, R, R}}}), {.maxPixels = 8}));
}

}  // namespace
}  // namespace kaleo
