#include "CodecFloor.h"

#include <gif_lib.h>
#include <spng.h>

#include <algorithm>
#include <cstdio>
// jpeglib.h needs FILE.
#include <jpeglib.h>

#include <vector>

namespace kaleo::bench {
namespace {

constexpr std::size_t kBytesPerPixel = 4;

RawPixels uninitialised(std::size_t bytes) { return std::make_unique_for_overwrite<std::uint8_t[]>(bytes); }

struct Input {
  const KLBytes& data;
  std::size_t position = 0;
};

int readInput(GifFileType* gif, GifByteType* target, int wanted) {
  auto& input = *static_cast<Input*>(gif->UserData);
  const std::size_t length = std::min(static_cast<std::size_t>(wanted), input.data.size() - input.position);
  std::copy_n(input.data.data() + input.position, length, target);
  input.position += length;
  return static_cast<int>(length);
}

void drawFrame(GifFileType* gif, std::vector<GifByteType>& row, std::uint8_t* canvas) {
  const ColorMapObject* const map = gif->Image.ColorMap ? gif->Image.ColorMap : gif->SColorMap;
  for (int y = 0; y < gif->Image.Height; ++y) {
    DGifGetLine(gif, row.data(), gif->Image.Width);
    std::uint8_t* pixel =
        canvas + static_cast<std::size_t>(gif->Image.Top + y) * static_cast<std::size_t>(gif->SWidth) * kBytesPerPixel;
    for (int x = 0; x < gif->Image.Width; ++x, pixel += kBytesPerPixel) {
      const GifColorType& color = map->Colors[row[static_cast<std::size_t>(x)]];
      pixel[0] = color.Red;
      pixel[1] = color.Green;
      pixel[2] = color.Blue;
      pixel[3] = 255;
    }
  }
}

}  // namespace

RawPixels decodeByLibjpeg(const KLBytes& data) {
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, data.data(), data.size());
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_EXT_RGBA;
  jpeg_start_decompress(&info);
  const std::size_t stride = std::size_t{info.output_width} * kBytesPerPixel;
  RawPixels pixels = uninitialised(stride * info.output_height);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = pixels.get() + stride * info.output_scanline;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return pixels;
}

RawPixels decodeBySpng(const KLBytes& data) {
  const std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> context(spng_ctx_new(0), spng_ctx_free);
  spng_set_png_buffer(context.get(), data.data(), data.size());
  std::size_t length = 0;
  if (spng_decoded_image_size(context.get(), SPNG_FMT_RGBA8, &length) != SPNG_OK) return nullptr;
  RawPixels pixels = uninitialised(length);
  if (spng_decode_image(context.get(), pixels.get(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != SPNG_OK) return nullptr;
  return pixels;
}

std::size_t playByGiflib(const KLBytes& data) {
  Input input{data};
  int error = 0;
  GifFileType* const gif = DGifOpen(&input, readInput, &error);
  if (!gif) return 0;
  std::vector<GifByteType> row(static_cast<std::size_t>(gif->SWidth));
  const RawPixels canvas =
      uninitialised(static_cast<std::size_t>(gif->SWidth) * static_cast<std::size_t>(gif->SHeight) * kBytesPerPixel);
  std::size_t frames = 0;
  for (GifRecordType type; DGifGetRecordType(gif, &type) == GIF_OK && type != TERMINATE_RECORD_TYPE;) {
    if (type == IMAGE_DESC_RECORD_TYPE) {
      if (DGifGetImageDesc(gif) != GIF_OK) break;
      drawFrame(gif, row, canvas.get());
      ++frames;
    } else {
      int code = 0;
      GifByteType* block = nullptr;
      for (DGifGetExtension(gif, &code, &block); block;) DGifGetExtensionNext(gif, &block);
    }
  }
  DGifCloseFile(gif, &error);
  return frames;
}

}  // namespace kaleo::bench
