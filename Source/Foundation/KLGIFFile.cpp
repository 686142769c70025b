#include "Foundation/KLGIFFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "Foundation/KLImageSize.h"

namespace kaleo {
namespace {

constexpr std::size_t kSignatureLength = 6;
constexpr std::uint8_t kImageBlock = 0x2C;
constexpr std::uint8_t kExtensionBlock = 0x21;
constexpr std::uint8_t kGraphicControl = 0xF9;
constexpr std::size_t kGraphicControlLength = 4;

constexpr double kDefaultDelay = 0.1;
/// Delays below are what encoders write for "as fast as you can"; every viewer plays them at the default instead.
constexpr double kShortestDelay = 0.011;

/// The packed fields of image and screen descriptors.
constexpr unsigned kHasPalette = 0x80;
int paletteSizeOf(unsigned packed) { return (packed & kHasPalette) != 0 ? 2 << (packed & 0x07) : 0; }

/// Reads forward; past the end every read answers 0 and `failed` stays true.
class Cursor {
 public:
  explicit Cursor(const KLBytes& data) : data_(data) {}

  std::size_t position() const { return position_; }
  bool failed() const { return failed_; }

  unsigned byte() { return skip(1) ? data_[position_ - 1] : 0; }
  int word() {
    const unsigned low = byte();
    return static_cast<int>(low | byte() << 8);
  }
  bool skip(std::size_t count) {
    if (failed_ || data_.size() - position_ < count) return !(failed_ = true);
    position_ += count;
    return true;
  }
  void skipSubBlocks() {
    while (const unsigned length = byte()) skip(length);
  }

 private:
  const KLBytes& data_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

/// What a graphic control extension says of the frame after it.
struct Control {
  double delay = kDefaultDelay;
  KLGIFDisposal disposal = KLGIFDisposal::Keep;
  int transparentIndex = -1;
};

KLGIFDisposal disposalOf(unsigned packed) {
  switch (packed >> 2 & 0x07) {
    case 2:
      return KLGIFDisposal::ClearToTransparent;
    case 3:
    case 4:  // written by encoders that took the method for a set of bits
      return KLGIFDisposal::RestorePrevious;
    default:
      return KLGIFDisposal::Keep;
  }
}

class Scanner {
 public:
  Scanner(const KLBytes& data, std::size_t maxFrames) : cursor_(data), maxFrames_(maxFrames) {}

  std::optional<KLGIFFile> scan() {
    if (!readHead()) return std::nullopt;
    readBlocks();
    if (file_.frames.empty()) return std::nullopt;
    if (file_.width == 0 || file_.height == 0) {
      file_.width = file_.frames.front().width;
      file_.height = file_.frames.front().height;
    }
    return std::move(file_);
  }

 private:
  bool readHead() {
    cursor_.skip(kSignatureLength);
    file_.width = cursor_.word();
    file_.height = cursor_.word();
    globalPaletteSize_ = paletteSizeOf(cursor_.byte());
    cursor_.skip(2);  // background colour, aspect ratio
    globalPaletteOffset_ = cursor_.position();
    cursor_.skip(std::size_t{3} * static_cast<unsigned>(globalPaletteSize_));
    file_.headLength = cursor_.position();
    return !cursor_.failed();
  }

  void readBlocks() {
    while (!cursor_.failed() && file_.frames.size() < maxFrames_) {
      const unsigned kind = cursor_.byte();
      if (kind == kExtensionBlock) {
        readExtension();
      } else if (kind == kImageBlock) {
        readImage();
      } else {
        return;
      }
    }
  }

  void readExtension() {
    if (cursor_.byte() == kGraphicControl && cursor_.byte() == kGraphicControlLength) {
      const unsigned packed = cursor_.byte();
      const double delay = cursor_.word() / 100.0;
      const auto transparent = static_cast<int>(cursor_.byte());
      control_ = {delay < kShortestDelay ? kDefaultDelay : delay, disposalOf(packed), (packed & 1) != 0 ? transparent : -1};
    }
    cursor_.skipSubBlocks();
  }

  void readImage() {
    KLGIFFrame frame;
    frame.offset = cursor_.position() - 1;
    frame.left = cursor_.word();
    frame.top = cursor_.word();
    frame.width = cursor_.word();
    frame.height = cursor_.word();
    frame.paletteSize = paletteSizeOf(cursor_.byte());
    frame.paletteOffset = cursor_.position();
    cursor_.skip(std::size_t{3} * static_cast<unsigned>(frame.paletteSize));
    cursor_.byte();  // code size
    if (cursor_.failed()) return;
    cursor_.skipSubBlocks();
    if (!cursor_.failed() || file_.frames.empty()) keep(frame);
  }

  void keep(KLGIFFrame frame) {
    if (frame.paletteSize == 0) {
      frame.paletteSize = globalPaletteSize_;
      frame.paletteOffset = globalPaletteOffset_;
    }
    frame.delay = control_.delay;
    frame.disposal = control_.disposal;
    frame.transparentIndex = control_.transparentIndex;
    control_ = {};
    file_.frames.push_back(frame);
  }

  Cursor cursor_;
  const std::size_t maxFrames_;
  KLGIFFile file_;
  Control control_;
  int globalPaletteSize_ = 0;
  std::size_t globalPaletteOffset_ = 0;
};

bool hasSignature(const KLBytes& data) {
  return data.size() > kSignatureLength &&
         (std::memcmp(data.data(), "GIF89a", kSignatureLength) == 0 || std::memcmp(data.data(), "GIF87a", kSignatureLength) == 0);
}

}  // namespace

std::optional<KLGIFFile> KLScanGIF(const KLBytes& data, std::size_t maxFrames) {
  if (!hasSignature(data)) return std::nullopt;
  return Scanner(data, maxFrames).scan();
}

std::string KLGIFRefusal(const KLGIFFile& file, const KLImageDecoder::Limits& limits) {
  if (file.frames.size() > limits.maxFrames) return fmt::format("more frames than maxFrames {}", limits.maxFrames);
  const auto refusal = [&limits](int width, int height) {
    return KLImageSizeRefusal(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), limits);
  };
  if (auto text = refusal(file.width, file.height); !text.empty()) return text;

  const auto area = [](int width, int height) { return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height); };
  std::uint64_t total = 0;
  for (const auto& frame : file.frames) {
    // A frame larger than the canvas costs its own size to unpack.
    if (area(frame.width, frame.height) > limits.maxPixels) return refusal(frame.width, frame.height);
    total += std::max(area(frame.width, frame.height), area(file.width, file.height)) * kKLBytesPerPixel;
  }
  return KLImageTotalRefusal(total, limits);
}

}  // namespace kaleo
