#pragma once

#include <gif_lib.h>
#include <spng.h>

#include <cstdio>
#include <cstdlib>
// jpeglib.h needs FILE.
#include <jpeglib.h>

#include <optional>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::testing {

/// Pictures made by the codecs' own encoders.

struct GIFFrameSketch {
  int left = 0, top = 0, width = 1, height = 1;
  std::vector<std::uint8_t> indices;
  int disposal = DISPOSAL_UNSPECIFIED;
  int transparent = NO_TRANSPARENT_COLOR;
  std::optional<int> delay = 10;  ///< hundredths of a second; none: no graphic control extension
  bool interlaced = false;
  std::vector<GifColorType> palette = {};  ///< of its own; its size a power of two
};

/// The global palette of `makeGIF`: 0 black, 1 red, 2 green, 3 blue.
inline KLBytes makeGIF(int width, int height, const std::vector<GIFFrameSketch>& frames) {
  const GifColorType colors[] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
  KLBytes bytes;
  int error = 0;
  auto write = [](GifFileType* gif, const GifByteType* data, int length) {
    auto* target = static_cast<KLBytes*>(gif->UserData);
    target->insert(target->end(), data, data + length);
    return length;
  };
  GifFileType* gif = EGifOpen(&bytes, write, &error);
  EGifSetGifVersion(gif, true);
  ColorMapObject* map = GifMakeMapObject(4, colors);
  EGifPutScreenDesc(gif, width, height, 8, 0, map);
  GifFreeMapObject(map);
  for (const auto& frame : frames) {
    if (frame.delay) {
      GifByteType extension[4];
      const GraphicsControlBlock control{frame.disposal, false, *frame.delay, frame.transparent};
      EGifGCBToExtension(&control, extension);
      EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, extension);
    }
    ColorMapObject* own =
        frame.palette.empty() ? nullptr : GifMakeMapObject(static_cast<int>(frame.palette.size()), frame.palette.data());
    EGifPutImageDesc(gif, frame.left, frame.top, frame.width, frame.height, frame.interlaced, own);
    if (own != nullptr) GifFreeMapObject(own);
    auto indices = frame.indices;
    EGifPutLine(gif, indices.data(), static_cast<int>(indices.size()));
  }
  EGifCloseFile(gif, &error);
  return bytes;
}

/// `samples`: what the colour type calls for, row by row.
inline KLBytes makePNG(spng_ihdr header, const std::vector<std::uint8_t>& samples, spng_plte* palette = nullptr,
                       spng_trns* transparency = nullptr) {
  spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
  spng_set_ihdr(context, &header);
  if (palette != nullptr) spng_set_plte(context, palette);
  if (transparency != nullptr) spng_set_trns(context, transparency);
  spng_encode_image(context, samples.data(), samples.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  std::size_t length = 0;
  int error = 0;
  void* buffer = spng_get_png_buffer(context, &length, &error);
  const auto* data = static_cast<const std::uint8_t*>(buffer);
  KLBytes bytes(data, data + length);
  std::free(buffer);
  spng_ctx_free(context);
  return bytes;
}

/// `channels` bytes a pixel: 1 grey, 3 RGB, 4 CMYK (stored as given, with the marker of Adobe, so that 255 is no ink). A quality
/// below 100 halves the resolution of the colours, as cameras do.
inline KLBytes makeJPEG(int width, int height, int channels, const std::vector<std::uint8_t>& samples, const KLBytes& exif = {},
                        int quality = 100) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long length = 0;
  jpeg_mem_dest(&info, &buffer, &length);
  info.image_width = static_cast<JDIMENSION>(width);
  info.image_height = static_cast<JDIMENSION>(height);
  info.input_components = channels;
  info.in_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality, TRUE);
  for (int i = 0; quality == 100 && i < info.num_components; ++i) {
    info.comp_info[i].h_samp_factor = info.comp_info[i].v_samp_factor = 1;
  }
  jpeg_start_compress(&info, TRUE);
  if (!exif.empty()) jpeg_write_marker(&info, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
  auto rows = samples;  // libjpeg takes no constant ones
  for (int y = 0; y < height; ++y) {
    JSAMPROW line = rows.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width * channels);
    jpeg_write_scanlines(&info, &line, 1);
  }
  jpeg_finish_compress(&info);
  KLBytes bytes(buffer, buffer + length);
  jpeg_destroy_compress(&info);
  std::free(buffer);
  return bytes;
}

}  // namespace kaleo::testing
