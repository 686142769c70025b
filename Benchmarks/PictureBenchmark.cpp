#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "CodecFloor.h"
#include "Foundation/KLImageDecoder.h"
#include "Image/KLMemoryImageCache.h"
#include "Memory.h"
#include "Support/Pictures.h"

// Pictures as campaigns have them, decoded by the library and by the bare codec, and taken from the memory cache.

namespace kaleo::bench {
namespace {

constexpr int kWidth = 1080, kHeight = 1920;  ///< a whole screen
constexpr int kSide = 300, kFrames = 60;      ///< of the animated picture
constexpr int kJPEGQuality = 85;
constexpr std::uint32_t kSeed = 7;

/// Slow changes of colour with some grain, as in a photograph.
std::vector<std::uint8_t> photograph(int channels) {
  std::mt19937 random(kSeed);
  std::vector<std::uint8_t> samples;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const auto grain = static_cast<int>(random() % 9);
      for (int channel = 0; channel < channels; ++channel) {
        const double wave = std::sin(x * 0.011 * (channel + 1)) * std::cos(y * 0.007 + channel);
        samples.push_back(channel == 3 ? 255 : static_cast<std::uint8_t>(124 + 110 * wave + grain));
      }
    }
  }
  return samples;
}

const KLBytes& jpeg() {
  static const KLBytes data = testing::makeJPEG(kWidth, kHeight, 3, photograph(3), {}, kJPEGQuality);
  return data;
}

const KLBytes& png() {
  static const KLBytes data = testing::makePNG({kWidth, kHeight, 8, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA, 0, 0, 0}, photograph(4));
  return data;
}

/// Waves with some grain in 256 colours, moving.
const KLBytes& gif() {
  static const KLBytes data = [] {
    std::mt19937 random(kSeed);
    std::vector<GifColorType> palette;
    for (int index = 0; index < 256; ++index) {
      palette.push_back({GifByteType(index), GifByteType(255 - index), GifByteType(index / 2)});
    }
    std::vector<testing::GIFFrameSketch> frames;
    for (int number = 0; number < kFrames; ++number) {
      testing::GIFFrameSketch frame{.width = kSide, .height = kSide, .delay = 4, .palette = palette};
      for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
          const double wave = std::sin((x + 4 * number) * 0.03) * std::cos(y * 0.02);
          frame.indices.push_back(static_cast<std::uint8_t>(124 + 110 * wave + static_cast<int>(random() % 5)));
        }
      }
      frames.push_back(std::move(frame));
    }
    return testing::makeGIF(kSide, kSide, frames);
  }();
  return data;
}

void decodeByFloor(benchmark::State& state, RawPixels (*decode)(const KLBytes&), const KLBytes& (*data)()) {
  const KLBytes& encoded = data();
  for (auto _ : state) {
    const RawPixels pixels = decode(encoded);
    if (!pixels) return state.SkipWithError("no picture");
    benchmark::DoNotOptimize(pixels.get());
  }
}

void decodeByLibrary(benchmark::State& state, const KLBytes& (*data)()) {
  const KLBytes& encoded = data();
  const std::size_t before = bytesInUse();
  auto image = KLImageDecoder::decode(encoded);
  if (!image) return state.SkipWithError("no picture");
  state.counters["held"] = static_cast<double>(bytesInUse() - before);
  for (auto _ : state) {
    image = nullptr;
    image = KLImageDecoder::decode(encoded);
    benchmark::DoNotOptimize(image);
  }
}

void playByLibrary(benchmark::State& state) {
  const KLBytes& data = gif();
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = bytesInUse();
    const auto image = KLImageDecoder::decode(data);
    for (std::size_t frame = 0; frame < kFrames; ++frame) benchmark::DoNotOptimize(image->frame(frame));
    held = bytesInUse() - before;
  }
  state.counters["held"] = static_cast<double>(held);
  state.counters["file"] = static_cast<double>(data.size());
  state.counters["canvas"] = kSide * kSide * 4;
}

void playByFloor(benchmark::State& state) {
  for (auto _ : state) {
    if (playByGiflib(gif()) != kFrames) return state.SkipWithError("frames are missing");
  }
}

void hitMemoryCache(benchmark::State& state) {
  constexpr int kPictures = 100;
  KLMemoryImageCache cache;
  std::vector<std::string> keys;
  const std::shared_ptr<const KLImage> image = KLImageDecoder::decode(testing::makeGIF(1, 1, {{.indices = {1}}}));
  for (int number = 0; number < kPictures; ++number) {
    keys.push_back("https://pictures.shop.example/campaigns/2026/spring/" + std::to_string(number) + "/card@2x.png");
    cache.setImage(image, keys.back());
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(cache.imageForKey(keys[next]));
    next = (next + 37) % kPictures;
  }
}

}  // namespace

BENCHMARK_CAPTURE(decodeByFloor, jpeg, decodeByLibjpeg, jpeg)->Name("floor/jpeg")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decodeByFloor, png, decodeBySpng, png)->Name("floor/png")->Unit(benchmark::kMillisecond);
BENCHMARK(playByFloor)->Name("floor/gif")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decodeByLibrary, jpeg, jpeg)->Name("picture/jpeg")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decodeByLibrary, png, png)->Name("picture/png")->Unit(benchmark::kMillisecond);
BENCHMARK(playByLibrary)->Name("picture/gif")->Unit(benchmark::kMillisecond);
BENCHMARK(hitMemoryCache)->Name("picture/memory_cache");

}  // namespace kaleo::bench
