#include "Foundation/KLPNGDecoder.h"

#include <spng.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include "Foundation/KLImageSize.h"
#include "Foundation/KLStillImage.h"

namespace kaleo {
namespace {

/// Bounds what one chunk and all kept chunks (text, colour profiles) may take.
constexpr std::size_t kMaxChunkBytes = 4u << 20;
constexpr std::size_t kStripRows = 16;

// The file's structure (ISO/IEC 15948, 5): a signature, then chunks of length, type, data and checksum.
constexpr std::size_t kSignatureBytes = 8;
constexpr std::size_t kChunkHeadBytes = 8;
constexpr std::size_t kChecksumBytes = 4;

/// The distances between the pixels that are known after each pass of an interlaced picture (ISO/IEC 15948, 8.2).
struct Grid {
  std::size_t x, y;
};
constexpr std::array<Grid, 7> kGridAfterPass{{{8, 8}, {4, 8}, {4, 4}, {2, 4}, {2, 2}, {1, 2}, {1, 1}}};

std::size_t chunkLengthAt(const KLBytes& data, std::size_t at) {
  return std::size_t{data[at]} << 24 | std::size_t{data[at + 1]} << 16 | std::size_t{data[at + 2]} << 8 | data[at + 3];
}

/// What of a file its pixels need.
struct Essence {
  KLBytes file;
  bool brokeOff = false;  ///< within the pixels: libspng reads a chunk as a whole, and so the last one is made to end at the break
};

Essence essenceOf(const KLBytes& data) {
  constexpr std::array<std::string_view, 5> kTypes{"IHDR", "PLTE", "tRNS", "IDAT", "IEND"};
  Essence essence;
  const auto begin = data.begin();
  essence.file.assign(begin, begin + static_cast<std::ptrdiff_t>(std::min(kSignatureBytes, data.size())));
  for (std::size_t at = kSignatureBytes; !essence.brokeOff && at < data.size() && data.size() - at >= kChunkHeadBytes;) {
    const std::string_view type(reinterpret_cast<const char*>(&data[at + 4]), 4);
    const std::size_t length = chunkLengthAt(data, at), left = data.size() - at - kChunkHeadBytes;
    const std::size_t bytes = kChunkHeadBytes + std::min(left, length + kChecksumBytes);
    if (std::ranges::find(kTypes, type) != kTypes.end())
      essence.file.insert(essence.file.end(), begin + std::ptrdiff_t(at), begin + std::ptrdiff_t(at + bytes));
    if (left < length + kChecksumBytes && type == "IDAT") {
      essence.brokeOff = true;
      const std::size_t present = std::min(length, left), head = essence.file.size() - bytes;
      for (std::size_t i = 0; i < 4; ++i) essence.file[head + i] = static_cast<std::uint8_t>(present >> (24 - 8 * i));
      essence.file.resize(head + kChunkHeadBytes + present + kChecksumBytes);
    }
    at += bytes;
  }
  return essence;
}

void premultiply(std::span<std::uint8_t> rgba) {
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    const unsigned alpha = rgba[i + 3];
    if (alpha == 255) continue;
    for (std::size_t channel = i; channel < i + 3; ++channel) {
      rgba[channel] = static_cast<std::uint8_t>((rgba[channel] * alpha + 127) / 255);
    }
  }
}

bool brokeOff(int error) { return error == SPNG_IO_EOF || error == SPNG_EIDAT_TOO_SHORT; }

/// One decoding of a file whose size has been allowed.
class Decoding {
 public:
  Decoding(spng_ctx* context, const spng_ihdr& header)
      : context_(context), interlaced_(header.interlace_method != SPNG_INTERLACE_NONE), stride_(header.width * kKLBytesPerPixel) {
    pixels_.width = static_cast<int>(header.width);
    pixels_.height = static_cast<int>(header.height);
  }

  /// False when nothing can be shown.
  bool run() {
    constexpr int kFlags = SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE;
    if (spng_decode_image(context_, nullptr, 0, SPNG_FMT_RGBA8, kFlags) != SPNG_OK) return false;
    if (!(interlaced_ ? readPasses() : readRows())) return false;
    // The checksum of the last pixels is only looked at on the way to what stands after them.
    return !whole_ || spng_decode_chunks(context_) != SPNG_ECHUNK_CRC;
  }

  /// Whether all of the picture came.
  bool isWhole() const { return whole_; }
  KLPixels takePixels() { return std::move(pixels_); }

 private:
  std::size_t size() const { return stride_ * static_cast<std::size_t>(pixels_.height); }

  /// By way of a few rows that stay in the processor's cache, so that the picture's memory is written once.
  bool readRows() {
    pixels_.rgba.reserve(size());
    std::vector<std::uint8_t> strip(stride_ * kStripRows);
    int error = SPNG_OK;
    while (error == SPNG_OK) {
      std::size_t filled = 0;
      for (; error == SPNG_OK && filled < strip.size(); filled += stride_) {
        error = spng_decode_row(context_, strip.data() + filled, stride_);
        if (error != SPNG_OK && error != SPNG_EOI) break;
      }
      premultiply({strip.data(), filled});
      pixels_.rgba.insert(pixels_.rgba.end(), strip.begin(), strip.begin() + static_cast<std::ptrdiff_t>(filled));
    }
    whole_ = error == SPNG_EOI;
    if (!whole_ && (!brokeOff(error) || pixels_.rgba.empty())) return false;
    pixels_.rgba.resize(size());
    return true;
  }

  bool readPasses() {
    pixels_.rgba.resize(size());
    spng_row_info row{};
    int error = SPNG_OK;
    while (error == SPNG_OK) {
      error = spng_get_row_info(context_, &row);
      if (error == SPNG_OK) error = spng_decode_row(context_, pixels_.rgba.data() + row.row_num * stride_, stride_);
    }
    whole_ = error == SPNG_EOI;
    if (!whole_) {
      if (!brokeOff(error) || row.pass == 0) return false;
      spread(kGridAfterPass[static_cast<std::size_t>(row.pass) - 1]);
    }
    premultiply(pixels_.rgba);
    return true;
  }

  /// Gives each pixel the colour of the nearest known one to its upper left.
  void spread(Grid known) {
    const std::size_t width = stride_ / kKLBytesPerPixel;
    std::uint8_t* pixel = pixels_.rgba.data();
    for (std::size_t y = 0; y < static_cast<std::size_t>(pixels_.height); ++y) {
      const std::uint8_t* row = pixels_.rgba.data() + (y - y % known.y) * stride_;
      for (std::size_t x = 0; x < width; ++x, pixel += kKLBytesPerPixel) {
        std::memmove(pixel, row + (x - x % known.x) * kKLBytesPerPixel, kKLBytesPerPixel);
      }
    }
  }

  spng_ctx* const context_;
  const bool interlaced_;
  const std::size_t stride_;  ///< bytes a row
  KLPixels pixels_;
  bool whole_ = false;
};

struct Attempt {
  KLImageDecoder::Outcome outcome;
  bool whole = false;
};

Attempt decode(const KLBytes& data, spng_crc_action onBadChecksum, const KLImageDecoder::Limits& limits) {
  const std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> context(spng_ctx_new(0), spng_ctx_free);
  if (!context) return {{nullptr, "out of memory"}};
  spng_set_crc_action(context.get(), onBadChecksum, SPNG_CRC_DISCARD);
  spng_set_chunk_limits(context.get(), kMaxChunkBytes, kMaxChunkBytes);
  spng_set_png_buffer(context.get(), data.data(), data.size());

  spng_ihdr header{};
  if (spng_get_ihdr(context.get(), &header) != SPNG_OK) return {{nullptr, "damaged PNG"}};
  if (auto refusal = KLImageSizeRefusal(header.width, header.height, limits); !refusal.empty())
    return {{nullptr, std::move(refusal)}};

  Decoding decoding(context.get(), header);
  if (!decoding.run()) return {{nullptr, "damaged PNG"}};
  const bool whole = decoding.isWhole();
  return {{std::make_shared<KLStillImage>(decoding.takePixels()), ""}, whole};
}

}  // namespace

KLImageDecoder::Outcome KLDecodePNG(const KLBytes& data, const KLImageDecoder::Limits& limits) {
  auto asItIs = decode(data, SPNG_CRC_ERROR, limits);
  if (asItIs.whole) return std::move(asItIs.outcome);
  const auto essence = essenceOf(data);
  return decode(essence.file, essence.brokeOff ? SPNG_CRC_USE : SPNG_CRC_ERROR, limits).outcome;
}

}  // namespace kaleo
