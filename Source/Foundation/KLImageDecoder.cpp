#include "Foundation/KLImageDecoder.h"

#include <fmt/format.h>

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

Outcome decodeOrRefuse(const KLBytes& data, const Limits& limits) try {
  if (data.size() > limits.maxBytes) return {nullptr, fmt::format("{} bytes, more than maxBytes {}", data.size(), limits.maxBytes)};
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
  return {nullptr, "no JPEG, PNG or GIF"};
} catch (const std::bad_alloc&) {
  return {nullptr, "out of memory"};
}

std::shared_ptr<const KLImage> decode(const KLBytes& data, const Limits& limits) { return decodeOrRefuse(data, limits).image; }

}  // namespace kaleo::KLImageDecoder
