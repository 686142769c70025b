// Any bytes as a picture: decoded whole, every frame of it.
#include "Foundation/KLImageDecoder.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

/// Small, so that an input runs in milliseconds; the decoder's own are the same checks with larger numbers.
constexpr KLImageDecoder::Limits kLimits{64u << 10, 1u << 20, 50, 16u << 20};

void requireWhole(const KLImage& image) {
  require(image.pixelWidth() > 0 && image.pixelHeight() > 0, "a picture has a size");
  require(image.frameCount() > 0 && image.frameCount() <= kLimits.maxFrames, "a picture has frames, and not too many");
  for (std::size_t index = 0; index < image.frameCount(); ++index) {
    require(image.delay(index) >= 0, "a frame is shown for some time");
    image.frame(index);
  }
}

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kaleo;
  if (const auto image = KLImageDecoder::decode(KLBytes(data, data + size), fuzz::kLimits)) fuzz::requireWhole(*image);
  return 0;
}
