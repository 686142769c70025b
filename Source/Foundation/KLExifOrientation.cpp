#include "Foundation/KLExifOrientation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace kaleo {
namespace {

constexpr std::array<std::uint8_t, 6> kExifSignature{'E', 'x', 'i', 'f', 0, 0};
constexpr std::size_t kDirectoryEntryBytes = 12;
constexpr std::size_t kValueOffsetInEntry = 8;
constexpr std::uint32_t kOrientationTag = 0x0112;

/// A TIFF structure in either byte order. Reading beyond its end gives 0.
class TIFF {
 public:
  explicit TIFF(std::span<const std::uint8_t> bytes) : bytes_(bytes), bigEndian_(!bytes.empty() && bytes[0] == 'M') {}

  std::uint32_t number(std::size_t offset, std::size_t length) const {
    if (offset > bytes_.size() || bytes_.size() - offset < length) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
      value = value << 8 | bytes_[offset + (bigEndian_ ? i : length - 1 - i)];
    }
    return value;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  bool bigEndian_;
};

bool swapsSides(KLExifOrientation orientation) { return orientation >= KLExifOrientation::LeftTop; }

/// Where the upright picture's pixel (x, y) lies in the stored picture of `width` times `height` pixels.
std::pair<int, int> sourceOf(int x, int y, int width, int height, KLExifOrientation orientation) {
  switch (orientation) {
    case KLExifOrientation::TopRight:
      return {width - 1 - x, y};
    case KLExifOrientation::BottomRight:
      return {width - 1 - x, height - 1 - y};
    case KLExifOrientation::BottomLeft:
      return {x, height - 1 - y};
    case KLExifOrientation::LeftTop:
      return {y, x};
    case KLExifOrientation::RightTop:
      return {y, height - 1 - x};
    case KLExifOrientation::RightBottom:
      return {width - 1 - y, height - 1 - x};
    case KLExifOrientation::LeftBottom:
      return {width - 1 - y, x};
    case KLExifOrientation::Upright:
      break;
  }
  return {x, y};
}

}  // namespace

KLExifOrientation KLExifOrientationOf(std::span<const std::uint8_t> segment) {
  if (segment.size() < kExifSignature.size() || !std::ranges::equal(segment.first<6>(), kExifSignature)) {
    return KLExifOrientation::Upright;
  }
  const TIFF tiff(segment.subspan(kExifSignature.size()));
  const std::size_t directory = tiff.number(4, 4);
  const std::uint32_t count = tiff.number(directory, 2);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t entry = directory + 2 + i * kDirectoryEntryBytes;
    if (tiff.number(entry, 2) != kOrientationTag) continue;
    const auto value = tiff.number(entry + kValueOffsetInEntry, 2);
    return value >= 1 && value <= 8 ? static_cast<KLExifOrientation>(value) : KLExifOrientation::Upright;
  }
  return KLExifOrientation::Upright;
}

KLPixels KLTurnUpright(KLPixels pixels, KLExifOrientation orientation) {
  if (orientation == KLExifOrientation::Upright) return pixels;
  KLPixels upright{pixels.width, pixels.height, std::vector<std::uint8_t>(pixels.rgba.size())};
  if (swapsSides(orientation)) std::swap(upright.width, upright.height);
  auto* target = upright.rgba.data();
  for (int y = 0; y < upright.height; ++y) {
    for (int x = 0; x < upright.width; ++x, target += 4) {
      const auto [fromX, fromY] = sourceOf(x, y, pixels.width, pixels.height, orientation);
      std::memcpy(target, &pixels.rgba[(static_cast<std::size_t>(fromY) * pixels.width + fromX) * 4], 4);
    }
  }
  return upright;
}

}  // namespace kaleo
