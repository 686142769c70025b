#pragma once

#include <optional>
#include <string>

#include "kaleo/KLExport.h"
#include "kaleo/KLGeometry.h"

namespace kaleo {

enum class KLTextAlignment { Left = 0, Center = 1, Right = 2 };

/// A text with one style for the whole of it.
struct KLAttributedText {
  std::string text;              ///< UTF-8
  double fontSize = 0;           ///< of the system font, in points
  std::optional<KLColor> color;  ///< black when unset
  double kerning = 0;            ///< added after each character, in points
  double lineSpacing = 0;        ///< added between lines, in points
  KLTextAlignment alignment = KLTextAlignment::Left;
  bool underline = false;
  friend bool operator==(const KLAttributedText&, const KLAttributedText&) = default;
};

/// Measures text as the back end draws it. Port.
/// Threads: called on the library's popup queue, never on the main thread by the library; it must be safe on any thread.
class KALEO_API KLTextMeasurer {
 public:
  virtual ~KLTextMeasurer() = default;
  KLTextMeasurer(const KLTextMeasurer&) = delete;
  KLTextMeasurer& operator=(const KLTextMeasurer&) = delete;

  /// The size, in points, that `text` takes when its lines are broken at `width` points; the height has no bound. Not rounded.
  virtual KLSize measure(const KLAttributedText& text, double width) const = 0;

 protected:
  KLTextMeasurer() = default;
};

}  // namespace kaleo
