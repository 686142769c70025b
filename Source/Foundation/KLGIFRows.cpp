#include "Foundation/KLGIFRows.h"

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace kaleo {
namespace {

/// The head of the file with the frame's block right behind it: giflib reads forward only, and so finds every frame at once.
struct Source {
  const KLBytes& data;
  std::size_t headLength;
  std::size_t frameOffset;
  std::size_t position = 0;
};

int readSource(GifFileType* gif, GifByteType* bytes, int count) {
  auto& source = *static_cast<Source*>(gif->UserData);
  const std::size_t end = source.position < source.headLength ? source.headLength : source.data.size();
  const std::size_t length = std::min(static_cast<std::size_t>(count), end - source.position);
  std::memcpy(bytes, source.data.data() + source.position, length);
  source.position += length;
  if (source.position == source.headLength) source.position = source.frameOffset;
  return static_cast<int>(length);
}

struct Close {
  void operator()(GifFileType* gif) const {
    int error = 0;
    DGifCloseFile(gif, &error);
  }
};
using Gif = std::unique_ptr<GifFileType, Close>;

Gif openAtFrame(Source& source) {
  int error = 0;
  Gif gif(DGifOpen(&source, readSource, &error));
  GifRecordType record = UNDEFINED_RECORD_TYPE;
  if (!gif || DGifGetRecordType(gif.get(), &record) != GIF_OK || record != IMAGE_DESC_RECORD_TYPE) return nullptr;
  return DGifGetImageDesc(gif.get()) == GIF_OK ? std::move(gif) : nullptr;
}

struct Pass {
  int first, step;
};
constexpr std::array<Pass, 4> kInterlaced{{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
constexpr std::array<Pass, 1> kSequential{{{0, 1}}};

}  // namespace

int KLReadGIFRows(const KLBytes& data, const KLGIFFile& file, const KLGIFFrame& frame, const KLGIFRow& row) {
  Source source{data, file.headLength, frame.offset};
  const Gif gif = openAtFrame(source);
  if (!gif || frame.width == 0) return 0;

  std::vector<std::uint8_t> indices(static_cast<std::size_t>(frame.width));
  int rows = 0;
  for (const auto& pass : gif->Image.Interlace ? std::span<const Pass>(kInterlaced) : std::span<const Pass>(kSequential)) {
    for (int y = pass.first; y < frame.height; y += pass.step, ++rows) {
      if (DGifGetLine(gif.get(), indices.data(), frame.width) != GIF_OK) return rows;
      row(y, indices);
    }
  }
  return rows;
}

}  // namespace kaleo
