#include "Platform/Headless/KLHeadlessPresentation.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Platform/Headless/KLHeadlessWindow.h"

namespace kaleo {
namespace {

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

double characterCount(std::string_view line) {
  return static_cast<double>(std::count_if(line.begin(), line.end(), [](char byte) { return !continuesCharacter(byte); }));
}

// Lines and the longest of them, in characters.
struct Extent {
  double lines = 0, longest = 0;
};

void addParagraph(Extent& extent, std::string_view paragraph, double charactersPerLine) {
  const double characters = characterCount(paragraph);
  extent.lines += std::max(1.0, std::ceil(characters / charactersPerLine));
  extent.longest = std::max(extent.longest, std::min(characters, charactersPerLine));
}

}  // namespace

KLSize KLHeadlessScreen::size() const {
  std::lock_guard lock(mutex_);
  return size_;
}

void KLHeadlessScreen::setSize(KLSize size) {
  std::lock_guard lock(mutex_);
  size_ = size;
}

KLSize KLFixedTextMeasurer::measure(const KLAttributedText& text, double width) const {
  if (text.text.empty() || text.fontSize <= 0) return {};
  const double characterWidth = text.fontSize * kCharacterWidth;
  const double charactersPerLine = std::max(1.0, std::floor(width / characterWidth));
  Extent extent;
  std::string_view rest = text.text;
  for (std::size_t feed; (feed = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(feed + 1)) {
    addParagraph(extent, rest.substr(0, feed), charactersPerLine);
  }
  addParagraph(extent, rest, charactersPerLine);
  return {extent.longest * characterWidth, extent.lines * text.fontSize * kLineHeight};
}

void KLMemoryPasteboard::setString(const std::string& text) {
  std::lock_guard lock(mutex_);
  text_ = text;
}

std::string KLMemoryPasteboard::string() const {
  std::lock_guard lock(mutex_);
  return text_;
}

KLPresentation KLHeadlessPresentation(const std::shared_ptr<KLQueue>& mainQueue) {
  const auto screen = std::make_shared<KLHeadlessScreen>();
  return {screen, std::make_shared<KLFixedTextMeasurer>(), std::make_shared<KLMemoryPasteboard>(),
          std::make_shared<KLHeadlessWindowFactory>(mainQueue, screen)};
}

}  // namespace kaleo
