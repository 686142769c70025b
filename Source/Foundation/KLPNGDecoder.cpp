#include "Foundation/KLPNGDecoder.h"

#include <spng.h>

#include "Foundation/KLImageSize.h"
#include "Foundation/KLStillImage.h"

namespace kaleo {
namespace {

/// Bounds what one chunk and all kept chunks (text, colour profiles) may take.
constexpr std::size_t kMaxChunkBytes = 4u << 20;

using Context = std::unique_ptr<spng_ctx, void (*)(spng_ctx*)>;

void premultiply(std::vector<std::uint8_t>& rgba) {
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    const unsigned alpha = rgba[i + 3];
    if (alpha == 255) continue;
    for (std::size_t channel = i; channel < i + 3; ++channel) {
      rgba[channel] = static_cast<std::uint8_t>((rgba[channel] * alpha + 127) / 255);
    }
  }
}

}  // namespace

std::shared_ptr<const KLImage> KLDecodePNG(const KLBytes& data, const KLImageDecoder::Limits& limits) {
  const Context context(spng_ctx_new(0), spng_ctx_free);
  if (!context) return nullptr;
  spng_set_crc_action(context.get(), SPNG_CRC_ERROR, SPNG_CRC_DISCARD);
  spng_set_chunk_limits(context.get(), kMaxChunkBytes, kMaxChunkBytes);
  if (spng_set_png_buffer(context.get(), data.data(), data.size()) != SPNG_OK) return nullptr;

  spng_ihdr header{};
  if (spng_get_ihdr(context.get(), &header) != SPNG_OK || !KLImageSizeAllowed(header.width, header.height, limits)) return nullptr;

  std::size_t length = 0;
  if (spng_decoded_image_size(context.get(), SPNG_FMT_RGBA8, &length) != SPNG_OK) return nullptr;
  KLPixels pixels{static_cast<int>(header.width), static_cast<int>(header.height), std::vector<std::uint8_t>(length)};
  if (spng_decode_image(context.get(), pixels.rgba.data(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != SPNG_OK) return nullptr;
  premultiply(pixels.rgba);
  return std::make_shared<KLStillImage>(std::move(pixels));
}

}  // namespace kaleo
