#include <gtest/gtest.h>

#include <QImageReader>
#include <cstdlib>
#include <regex>

#include "Foundation/PictureSuites/PictureSuites.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;
namespace suites = testing::PictureSuites;

/// What must not be shown; every other file must. The files' own names say what is wrong with most of them.
const std::regex kRefused(
    "libspng/tests/images/x(c1n0g08|c9n2c08|crn0g04|csn0g01|d0n2c08|d3n2c08|d9n2c08|dtn0g01|hdn0g08|lfn0g04|s.n0g01).png"
    "|.*/crashers/(bad_iCCP|badadler|badcrc|missing_plte|zero_gama|zero_width).png"
    "|.*/crashers/huge_(?!IDAT).*.png"                                   // chunks that reach beyond the file, before its pixels
    "|gdk-pixbuf/tests/(issue205|large).jpg|gdk-pixbuf/tests/large.png"  // beyond the limit of pixels
    "|gdk-pixbuf/tests/bug775218.jpg"                                    // an Exif segment and nothing else
    "|gdk-pixbuf/tests/test-images/fail/.*"
    "|gdk-pixbuf/tests/test-images/randomly-modified/bug775697.jpg"
    "|libjpeg-turbo/testimages/testorig12.jpg");  // of 12 bits a colour
/// What breaks off: each decoder fills the rest as it likes.
const std::regex kBrokenOff("gdk-pixbuf/tests/premature-end.*|gdk-pixbuf/tests/test-images/reftests/bug696331.png");

/// Qt 6.4 shows the transparent colour where it has 16 bits.
const std::regex kOtherInQt(".*/(i?f)?tb[bg]n2c16.png");

/// Of each colour, for decoders that round differently: samples of 16 bits to 8, and colours times alpha.
constexpr int kTolerance = 2;

/// By another decoder: Qt's, on libpng. Null when that one refuses.
QImage byQt(const fs::path& file) {
  QImageReader reader(QString::fromStdString(file.string()));
  reader.setDecideFormatFromContent(true);
  return reader.read().convertToFormat(QImage::Format_RGBA8888_Premultiplied);
}

/// The first byte by which the pictures differ; nothing when there is none.
std::optional<std::size_t> differenceOf(const KLPixels& pixels, const QImage& other, bool shownAlone) {
  const auto stride = static_cast<std::size_t>(pixels.width) * 4;
  for (std::size_t i = 0; i < pixels.rgba.size(); ++i) {
    if (shownAlone && pixels.rgba[i | 3] == 0) continue;
    if (std::abs(pixels.rgba[i] - other.constScanLine(static_cast<int>(i / stride))[i % stride]) > kTolerance) return i;
  }
  return std::nullopt;
}

class StillSuites : public ::testing::TestWithParam<const char*> {};

TEST_P(StillSuites, ShowThePixelsThatAnotherDecoderShows) {
  KALEO_REQUIRE_SUITE(GetParam());
  int decoded = 0, compared = 0;
  for (const auto* extension : {".png", ".jpg", ".jpeg"}) {
    for (const auto& file : suites::filesOf(GetParam(), extension)) {
      const auto name = suites::nameOf(file);
      SCOPED_TRACE(name);
      const auto [image, refusal] = KLImageDecoder::decodeOrRefuse(suites::bytesOf(file));
      EXPECT_EQ(image == nullptr, std::regex_match(name, kRefused)) << refusal;
      EXPECT_EQ(image == nullptr, !refusal.empty()) << refusal;
      if (!image || file.extension() != ".png") continue;  // Qt's JPEGs come from the same library
      ++decoded;
      const auto other = byQt(file);
      if (other.isNull() || std::regex_match(name, kOtherInQt)) continue;
      ASSERT_EQ(QSize(image->pixelWidth(), image->pixelHeight()), other.size());
      EXPECT_EQ(differenceOf(*image->frame(0), other, std::regex_match(name, kBrokenOff)), std::nullopt);
      ++compared;
    }
  }
  EXPECT_GT(decoded, 0);
  EXPECT_GE(compared, decoded - 8) << "Qt refuses a few that do no harm";
}

INSTANTIATE_TEST_SUITE_P(Suites, StillSuites, ::testing::Values("gdk-pixbuf", "libjpeg-turbo", "libpng1.6", "libspng"),
                         [](const auto& suite) { return std::regex_replace(suite.param, std::regex("[^a-z]"), "_"); });

}  // namespace
}  // namespace kaleo
