#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// What becomes of a frame's area when its time is over.
enum class KLGIFDisposal { Keep, ClearToTransparent, RestorePrevious };

/// One frame as its headers declare it. Lengths in pixels, from the canvas' top left corner; the frame may stick out of the canvas.
struct KLGIFFrame {
  int left = 0, top = 0, width = 0, height = 0;
  double delay = 0;  ///< seconds
  KLGIFDisposal disposal = KLGIFDisposal::Keep;
  int transparentIndex = -1;      ///< palette index that lets the canvas shine through; -1: none
  std::size_t paletteOffset = 0;  ///< in the file, of 3 bytes (red, green, blue) a colour
  int paletteSize = 0;            ///< in colours
  std::size_t offset = 0;         ///< in the file, of the image block
};

/// The structure of a GIF file (CompuServe GIF89a), read without decoding a pixel.
struct KLGIFFile {
  int width = 0, height = 0;
  std::size_t headLength = 0;  ///< bytes of header, screen descriptor and global palette
  std::vector<KLGIFFrame> frames;
};

/// Reads the structure of `maxFrames` frames at most. A file that breaks off or goes wrong gives the frames that are whole, and the
/// first of all also when it is not. A canvas without size gets that of the first frame. Nothing when there is no frame.
std::optional<KLGIFFile> KLScanGIF(const KLBytes& data, std::size_t maxFrames);

/// Why the file is refused, as its frames have no size or are together beyond the limits; empty when it is not.
std::string KLGIFRefusal(const KLGIFFile& file, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
