#include "Foundation/KLImageDecoder.h"

#include <new>

#include "Foundation/KLGIFImage.h"
#include "Foundation/KLJPEGDecoder.h"
#include "Foundation/KLPNGDecoder.h"

namespace kaleo::KLImageDecoder {

Format formatOf(const KLBytes& data) {
  if (data.empty()) return Format::Unknown;
  switch (data.front()) {
    case 0x47:
      return Format::GIF;
    case 0x89:
      return Format::PNG;
    case 0xFF:
      return Format::JPEG;
    default:
      return Format::Unknown;
  }
}

std::shared_ptr<const KLImage> decode(const KLBytes& data, const Limits& limits) try {
  if (data.size() > limits.maxBytes) return nullptr;
  switch (formatOf(data)) {
    case Format::GIF:
      return KLDecodeGIF(data, limits);
    case Format::PNG:
      return KLDecodePNG(data, limits);
    case Format::JPEG:
      return KLDecodeJPEG(data, limits);
    case Format::Unknown:
      break;
  }
  return nullptr;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace kaleo::KLImageDecoder
