#pragma once

namespace kaleo {

/// All lengths are in points unless a name says pixels; x grows to the right, y downwards.
struct KLPoint {
  double x = 0, y = 0;
  friend bool operator==(const KLPoint&, const KLPoint&) = default;
};

struct KLSize {
  double width = 0, height = 0;
  friend bool operator==(const KLSize&, const KLSize&) = default;
};

struct KLRect {
  double x = 0, y = 0, width = 0, height = 0;

  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  bool contains(KLPoint p) const { return p.x >= x && p.y >= y && p.x < maxX() && p.y < maxY(); }
  friend bool operator==(const KLRect&, const KLRect&) = default;
};

struct KLEdgeInsets {
  double top = 0, left = 0, bottom = 0, right = 0;
  friend bool operator==(const KLEdgeInsets&, const KLEdgeInsets&) = default;
};

/// A colour in sRGB, not premultiplied. Components are 0 to 1.
struct KLColor {
  double red = 0, green = 0, blue = 0, alpha = 0;
  friend bool operator==(const KLColor&, const KLColor&) = default;
};

}  // namespace kaleo
