#include "lines/LineReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kaleo::tools {
namespace {

constexpr std::size_t kBufferBytes = 1u << 16;

}  // namespace

LineReader::Read LineReader::fill() {
  if (position_ < buffer_.size()) return Read::Line;
  if (await_ && !await_()) return Read::Interrupted;
  buffer_.resize(kBufferBytes);
  const ssize_t count = ::read(descriptor_, buffer_.data(), buffer_.size());
  buffer_.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  position_ = 0;
  if (count > 0) return Read::Line;
  if (count == 0) return Read::End;
  return errno == EINTR ? Read::Interrupted : Read::Failed;
}

LineReader::Read LineReader::next(std::string& line) {
  line.clear();
  bool tooLong = false, any = false;
  for (;;) {
    const Read filled = fill();
    if (filled != Read::Line && !(filled == Read::End && any)) return filled;
    if (filled == Read::End) break;
    any = true;
    const char* const from = buffer_.data() + position_;
    const std::size_t rest = buffer_.size() - position_;
    const auto* const feed = static_cast<const char*>(std::memchr(from, '\n', rest));
    const std::size_t length = feed ? static_cast<std::size_t>(feed - from) : rest;
    tooLong = tooLong || line.size() + length > maxBytes_;
    if (!tooLong) line.append(from, length);
    position_ += length;
    if (!feed) continue;
    ++position_;
    break;
  }
  return tooLong ? Read::TooLong : Read::Line;
}

}  // namespace kaleo::tools
