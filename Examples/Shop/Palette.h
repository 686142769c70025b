#pragma once

#include <QColor>
#include <QFont>
#include <QString>

namespace shop {

inline constexpr QColor kInk{0x22, 0x30, 0x3C};
inline constexpr QColor kMuted{0x66, 0x73, 0x7F};
inline constexpr QColor kCoral{0xE8, 0x60, 0x4C};
inline constexpr QColor kCoralDark{0xC9, 0x45, 0x2F};
inline constexpr QColor kGreen{0x3F, 0x7D, 0x6B};
inline constexpr QColor kAmber{0xC9, 0x8A, 0x2B};
inline constexpr QColor kPaper{0xFB, 0xF6, 0xF1};
inline constexpr QColor kSand{0xF6, 0xF2, 0xEE};
inline constexpr QColor kLine{0xEC, 0xE4, 0xDC};
inline constexpr QColor kWhite{0xFF, 0xFF, 0xFF};

/// The shop's typeface. `size` is in points of the window's area, which are Qt's device independent pixels.
inline QFont face(int size, QFont::Weight weight = QFont::Normal) {
  QFont font;
  font.setFamilies({"Inter", "Noto Sans", "WenQuanYi Micro Hei", "DejaVu Sans"});
  font.setPixelSize(size);
  font.setWeight(weight);
  return font;
}

/// Such as "64.00".
inline QString price(double amount) { return QString::number(amount, 'f', 2); }

}  // namespace shop
