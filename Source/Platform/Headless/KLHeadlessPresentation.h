#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kaleo/KLPresentation.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// A screen of a given size. Threads: any.
class KLHeadlessScreen final : public KLScreen {
 public:
  /// The canvas that popups are designed for.
  static constexpr KLSize kDefaultSize{375, 812};

  explicit KLHeadlessScreen(KLSize size = kDefaultSize, double scale = 1) : size_(size), scale_(scale) {}
  KLSize size() const override;
  double scale() const override { return scale_; }
  void setSize(KLSize size);

 private:
  mutable std::mutex mutex_;
  KLSize size_;  ///< guarded by mutex_
  const double scale_;
};

/// Fixed metrics, the same on every machine: every character is half the font size wide, a line holds as many characters as fit (at
/// least one), a line feed breaks, a line is 1.2 times the font size high. Kerning and line spacing do not count. Threads: any.
class KLFixedTextMeasurer final : public KLTextMeasurer {
 public:
  static constexpr double kCharacterWidth = 0.5;  ///< of the font size
  static constexpr double kLineHeight = 1.2;      ///< of the font size

  KLSize measure(const KLAttributedText& text, double width) const override;
};

/// A pasteboard that holds the last text. Threads: any.
class KLMemoryPasteboard final : public KLPasteboard {
 public:
  void setString(const std::string& text) override;
  std::string string() const;

 private:
  mutable std::mutex mutex_;
  std::string text_;  ///< guarded by mutex_
};

/// A whole presentation without a screen, whose windows run on `mainQueue`.
KLPresentation KLHeadlessPresentation(const std::shared_ptr<KLQueue>& mainQueue);

}  // namespace kaleo
