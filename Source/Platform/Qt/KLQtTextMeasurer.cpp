#include "KLQtTextMeasurer.h"

#include <functional>
#include <utility>

namespace kaleo {
namespace {

std::size_t combined(std::size_t hash, double number) { return hash * 31 + std::hash<double>()(number); }

std::size_t hashOf(const KLAttributedText& text, double width) {
  return combined(combined(std::hash<std::string>()(text.text), text.fontSize), width);
}

}  // namespace

KLSize KLQtTextMeasurer::measure(const KLAttributedText& text, double width) const {
  const std::size_t hash = hashOf(text, width);
  if (const auto known = find(hash, text, width)) return *known;
  const QSizeF measured = KLQtTextLayout(font_, text, width).size();
  const KLSize size{measured.width(), measured.height()};
  if (text.text.size() <= kLongestKept) keep(hash, {text, width, size});
  return size;
}

std::optional<KLSize> KLQtTextMeasurer::find(std::size_t hash, const KLAttributedText& text, double width) const {
  std::lock_guard lock(mutex_);
  auto found = recent_.find(hash);
  if (found == recent_.end()) {
    if (const auto older = older_.find(hash); older != older_.end()) found = recent_.insert(older_.extract(older)).position;
  }
  if (found == recent_.end() || found->second.width != width || found->second.text != text) return std::nullopt;
  return found->second.size;
}

void KLQtTextMeasurer::keep(std::size_t hash, Measured measured) const {
  std::lock_guard lock(mutex_);
  if (recent_.size() >= kKept) older_ = std::exchange(recent_, {});
  recent_.insert_or_assign(hash, std::move(measured));
}

}  // namespace kaleo
