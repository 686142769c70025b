#include "Foundation/KLExifOrientation.h"

#include <gtest/gtest.h>

#include "Support/PixelText.h"
#include "kaleo/KLValue.h"

namespace kaleo {
namespace {

/// Rows "RGB" and "KBR".
KLPixels stored() { return {3, 2, {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 0, 0, 0, 255, 0, 0, 255, 255, 255, 0, 0, 255}}; }

TEST(KLExifOrientation, TurnsEachOfTheEightWays) {
  const std::vector<std::string> upright{"RGB/KBR",  "BGR/RBK",  "RBK/BGR",  "KBR/RGB",
                                         "RK/GB/BR", "KR/BG/RB", "RB/BG/KR", "BR/GB/RK"};
  for (int value = 1; value <= 8; ++value) {
    EXPECT_EQ(testing::pixelText(KLTurnUpright(stored(), static_cast<KLExifOrientation>(value))), upright[value - 1u]) << value;
  }
}

TEST(KLExifOrientation, ReadsTheTagInBothByteOrders) {
  const KLBytes big{'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0,    42,   0, 0, 0, 8, 0, 2, 0x01, 0x00, 0, 3,
                    0,   0,   0,   1,   0, 9, 0,   0,   0x01, 0x12, 0, 3, 0, 0, 0, 1, 0,    8,    0, 0};
  EXPECT_EQ(KLExifOrientationOf(big), KLExifOrientation::LeftBottom);
  const KLBytes little{'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0, 1, 0, 0, 0, 3, 0, 0, 0};
  EXPECT_EQ(KLExifOrientationOf(little), KLExifOrientation::BottomRight);
  for (std::size_t length = 0; length < 26; ++length) {
    EXPECT_EQ(KLExifOrientationOf(std::span(little).first(std::min<std::size_t>(length, 24))), KLExifOrientation::Upright)
        << length;
  }
}

TEST(KLExifOrientation, TakesNonsenseForUpright) {
  KLBytes segment{'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0, 1, 0, 0, 0, 9, 0, 0, 0};
  EXPECT_EQ(KLExifOrientationOf(segment), KLExifOrientation::Upright);
  std::fill_n(segment.begin() + 10, 4, std::uint8_t{0xFF});  // the directory lies far beyond the end
  EXPECT_EQ(KLExifOrientationOf(segment), KLExifOrientation::Upright);
  EXPECT_EQ(KLExifOrientationOf({}), KLExifOrientation::Upright);
}

}  // namespace
}  // namespace kaleo
