#include "Foundation/KLJPEGDecoder.h"

#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE and does not bring it

#include <algorithm>
#include <limits>

#include <jerror.h>
#include <jpeglib.h>

#include "Foundation/KLExifOrientation.h"
#include "Foundation/KLImageSize.h"
#include "Foundation/KLStillImage.h"

namespace kaleo {
namespace {

/// A progressive picture has some ten scans; a crafted one has thousands, each of which costs a pass over all coefficients.
constexpr int kMaxScans = 200;
constexpr std::size_t kStripRows = 16;
constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr unsigned kMaxMarkerBytes = 0xFFFF;

/// One decompression. libjpeg reports errors by calling back, and goes on if the callback returns: so the callback jumps. What the
/// jump passes over has trivial destructors only: whatever owns memory lives in this object, outside of the jump.
class Decompression {
 public:
  Decompression() {
    info_.err = jpeg_std_error(&errors_.base);
    errors_.base.error_exit = [](j_common_ptr info) { fail(info); };
    errors_.base.emit_message = [](j_common_ptr info, int level) { noteWarning(info, level); };
    progress_.progress_monitor = [](j_common_ptr info) { boundScans(info); };
  }
  ~Decompression() { jpeg_destroy_decompress(&info_); }
  Decompression(const Decompression&) = delete;
  Decompression& operator=(const Decompression&) = delete;

  bool readHeader(const KLBytes& data) {
    if (setjmp(errors_.escape) != 0) return false;
    jpeg_create_decompress(&info_);
    info_.progress = &progress_;
    jpeg_mem_src(&info_, data.data(), data.size());
    jpeg_save_markers(&info_, kExifMarker, kMaxMarkerBytes);
    return jpeg_read_header(&info_, TRUE) == JPEG_HEADER_OK;
  }

  std::uint32_t width() const { return info_.image_width; }
  std::uint32_t height() const { return info_.image_height; }
  bool isInverted() const { return info_.saw_Adobe_marker != FALSE; }
  bool isCMYK() const { return info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK; }

  /// Known until the pixels have been read.
  KLExifOrientation orientation() const {
    for (auto* marker = info_.marker_list; marker != nullptr; marker = marker->next) {
      if (marker->marker == kExifMarker) return KLExifOrientationOf({marker->data, marker->data_length});
    }
    return KLExifOrientation::Upright;
  }

  /// Appends the picture's rows to `pixels`, which has room for them, as far as the data goes: four bytes a pixel, RGBA, or CMYK as
  /// stored. False when nothing can be shown.
  bool readRows(std::vector<std::uint8_t>& pixels) {
    if (setjmp(errors_.escape) != 0) return false;
    info_.out_color_space = isCMYK() ? JCS_CMYK : JCS_EXT_RGBA;
    jpeg_start_decompress(&info_);
    readStrips(pixels);
    return !pixels.empty();
  }

 private:
  struct Errors {
    jpeg_error_mgr base{};
    std::jmp_buf escape{};
    bool ended = false;  ///< the data, before the picture
    JDIMENSION usableRows = std::numeric_limits<JDIMENSION>::max();
  };

  /// By way of a few rows that stay in the processor's cache, so that the picture's memory is written once: rows read to their
  /// place would need it cleared before.
  void readStrips(std::vector<std::uint8_t>& pixels) {
    const std::size_t stride = std::size_t{info_.output_width} * kKLBytesPerPixel;
    strip_.resize(stride * kStripRows);
    for (bool more = true; more;) {
      auto row = strip_.begin();
      while (row != strip_.end() && (more = readRow(&*row))) row += static_cast<std::ptrdiff_t>(stride);
      pixels.insert(pixels.end(), strip_.begin(), row);
    }
  }

  bool readRow(JSAMPROW row) {
    if (info_.output_scanline == info_.output_height) return false;
    jpeg_read_scanlines(&info_, &row, 1);
    return info_.output_scanline <= errors_.usableRows;
  }

  static Errors& errorsOf(j_common_ptr info) { return *reinterpret_cast<Errors*>(info->err); }

  [[noreturn]] static void fail(j_common_ptr info) { std::longjmp(errorsOf(info).escape, 1); }

  /// libjpeg goes on with grey where the data ends. In the first scan that begins with the row of blocks that it is at; later scans
  /// only make a whole picture finer. Everything else that it warns of leaves a usable picture.
  static void noteWarning(j_common_ptr common, int level) {
    if (level >= 0) return;
    auto& errors = errorsOf(common);
    const auto& info = *reinterpret_cast<j_decompress_ptr>(common);
    if (common->err->msg_code == JWRN_JPEG_EOF) errors.ended = true;
    if (common->err->msg_code != JWRN_HIT_MARKER || !errors.ended || info.input_scan_number > 1) return;
    errors.usableRows =
        std::min(errors.usableRows, info.input_iMCU_row * static_cast<JDIMENSION>(info.max_v_samp_factor * DCTSIZE));
  }

  static void boundScans(j_common_ptr info) {
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > kMaxScans) fail(info);
  }

  jpeg_decompress_struct info_{};
  jpeg_progress_mgr progress_{};
  Errors errors_;
  std::vector<std::uint8_t> strip_;
};

/// Adobe's encoders store ink inverted (0 is full ink) and say so with their marker.
void convertCMYK(std::vector<std::uint8_t>& pixels, bool inverted) {
  const auto light = [inverted](unsigned ink) { return inverted ? ink : 255 - ink; };
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    const unsigned key = light(pixels[i + 3]);
    for (std::size_t channel = i; channel < i + 3; ++channel) {
      pixels[channel] = static_cast<std::uint8_t>((light(pixels[channel]) * key + 127) / 255);
    }
    pixels[i + 3] = 255;
  }
}

}  // namespace

KLImageDecoder::Outcome KLDecodeJPEG(const KLBytes& data, const KLImageDecoder::Limits& limits) {
  Decompression decompression;
  if (!decompression.readHeader(data)) return {nullptr, "damaged JPEG"};
  const auto width = decompression.width(), height = decompression.height();
  if (auto refusal = KLImageSizeRefusal(width, height, limits); !refusal.empty()) return {nullptr, std::move(refusal)};

  KLPixels pixels{static_cast<int>(width), static_cast<int>(height), {}};
  const std::size_t size = std::size_t{width} * height * kKLBytesPerPixel;
  pixels.rgba.reserve(size);
  const auto orientation = decompression.orientation();
  if (!decompression.readRows(pixels.rgba)) return {nullptr, "damaged JPEG"};
  if (decompression.isCMYK()) convertCMYK(pixels.rgba, decompression.isInverted());
  pixels.rgba.resize(size);  // the rest of a picture that breaks off is transparent
  return {std::make_shared<KLStillImage>(KLTurnUpright(std::move(pixels), orientation)), ""};
}

}  // namespace kaleo
