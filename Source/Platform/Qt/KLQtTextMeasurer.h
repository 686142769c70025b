#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "KLQtTextLayout.h"
#include "kaleo/KLAttributedText.h"

namespace kaleo {

/// Measures with the very layout that the painter draws, and keeps the sizes of the texts measured last: a popup that is shown
/// again sets no type. Any thread.
class KLQtTextMeasurer final : public KLTextMeasurer {
 public:
  /// Between one and two times as many sizes are kept: those of some dozen popups.
  static constexpr std::size_t kKept = 256;
  /// A longer text, in bytes, is not kept.
  static constexpr std::size_t kLongestKept = 4096;

  explicit KLQtTextMeasurer(KLQtSystemFont font) : font_(std::move(font)) {}

  KLSize measure(const KLAttributedText& text, double width) const override;

 private:
  struct Measured {
    KLAttributedText text;
    double width;
    KLSize size;
  };
  /// By a hash of text, font size and width; of two texts with the same hash the later one stays.
  using Sizes = std::unordered_map<std::size_t, Measured>;

  std::optional<KLSize> find(std::size_t hash, const KLAttributedText& text, double width) const;
  void keep(std::size_t hash, Measured measured) const;

  const KLQtSystemFont font_;
  mutable std::mutex mutex_;
  mutable Sizes recent_, older_;  ///< guarded by mutex_; when `recent_` is full it takes the place of `older_`
};

}  // namespace kaleo
