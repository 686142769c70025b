#include "JSONSpans.h"

#include <optional>

namespace kaleo::fuzz {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kMarks = " \t\r\n,:\"{}[]";

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::vector<JSONSpan> scan() {
    while (at_ < text_.size()) step();
    return std::move(spans_);
  }

 private:
  struct Open {
    std::size_t nameBegin, begin;
  };

  void step() {
    const char mark = text_[at_];
    if (mark == '{' || mark == '[') return open();
    if (mark == '}' || mark == ']') return close();
    if (mark == '"') return string();
    if (kMarks.find(mark) != std::string_view::npos) {
      ++at_;
      return;
    }
    const std::size_t begin = at_;
    at_ = std::min(text_.find_first_of(kMarks, begin), text_.size());
    add(begin);
  }

  void open() {
    opened_.push_back({name_.value_or(at_), at_});
    name_.reset();
    ++at_;
  }

  void close() {
    ++at_;
    name_.reset();
    if (opened_.empty()) return;
    spans_.push_back({opened_.back().nameBegin, opened_.back().begin, at_});
    opened_.pop_back();
  }

  void string() {
    const std::size_t begin = at_++;
    while (at_ < text_.size() && text_[at_] != '"') at_ += text_[at_] == '\\' ? 2 : 1;
    at_ = std::min(at_ + 1, text_.size());
    const std::size_t next = text_.find_first_not_of(kBlanks, at_);
    if (next == std::string_view::npos || text_[next] != ':') return add(begin);
    name_ = begin;
    at_ = next + 1;
  }

  void add(std::size_t begin) {
    spans_.push_back({name_.value_or(begin), begin, at_});
    name_.reset();
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::optional<std::size_t> name_;  ///< where the name of the next value begins
  std::vector<Open> opened_;
  std::vector<JSONSpan> spans_;
};

}  // namespace

std::vector<JSONSpan> jsonSpans(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos || (text[first] != '{' && text[first] != '[')) return {};
  return Scanner(text).scan();
}

}  // namespace kaleo::fuzz
