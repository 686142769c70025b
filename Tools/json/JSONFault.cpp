#include "json/JSONFault.h"

#include <algorithm>
#include <cctype>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

/// Length of the UTF-8 sequence (RFC 3629) at the start of `text`; 0 when there is no valid one.
std::size_t sequenceLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(text[i])) return 0;
  }
  const auto second = static_cast<unsigned char>(text[1]);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool outside = (lead == 0xED && second >= 0xA0) || (lead == 0xF4 && second >= 0x90);
  return overlong || outside ? 0 : length;
}

/// What is usually meant by `rest`, which does not go on as JSON does, as the end of a sentence; "" where nothing is clear.
std::string_view likelyMistake(std::string_view rest) {
  struct Mistake {
    std::string_view beginning, words;
  };
  static constexpr Mistake kMistakes[] = {
      {"//", ": JSON has no comments"},
      {"/*", ": JSON has no comments"},
      {"#", ": JSON has no comments"},
      {"'", ": texts stand in double quotes"},
      {"`", ": texts stand in double quotes"},
      {"\u201C", ": texts stand in straight double quotes"},
      {"\u201D", ": texts stand in straight double quotes"},
      {"\u2018", ": texts stand in straight double quotes"},
      {"True", ": write true in small letters"},
      {"False", ": write false in small letters"},
      {"None", ": write null"},
      {"NaN", ": write null"},
      {"undefined", ": write null"},
      {"+", ": a number begins with a digit or '-'"},
      {".", ": a number begins with a digit or '-'"},
  };
  for (const Mistake& mistake : kMistakes) {
    if (rest.starts_with(mistake.beginning)) return mistake.words;
  }
  return "";
}

/// What a file of another kind is, which somebody took for JSON; "" when `text` may have been meant as JSON.
std::string_view otherKind(std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") || text.substr(0, 2).find('\0') != text.npos) {
    return "this is UTF-16, or no text at all; save the file as UTF-8";
  }
  if (text.starts_with("SQLite format 3")) return "this is an SQLite database; kaleo inspect and kaleo explain read those";
  if (text.starts_with("\x89PNG") || text.starts_with("\xFF\xD8\xFF") || text.starts_with("GIF8")) return "this is a picture";
  if (text.starts_with("PK\x03\x04") || text.starts_with("\x1F\x8B")) return "this is an archive; unpack it first";
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos) return "expected a value, but the text is empty";
  if (text[first] == '<') return "this is HTML or XML, perhaps the page of an error that was saved under this name";
  return "";
}

/// Walks a document until the end or the first fault. Every step answers false at a fault and leaves position_ on it.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool document() {
    skipBlanks();
    if (!value(0)) return false;
    skipBlanks();
    return atEnd() || failAt("expected the end of the document");
  }

  std::size_t position() const { return position_; }
  const std::string& message() const { return message_; }

 private:
  bool atEnd() const { return position_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[position_]; }
  bool fail(std::string message) {
    message_ = atEnd() ? message + ", but the text ends here" : std::move(message);
    return false;
  }

  void skipBlanks() {
    while (!atEnd() && std::string_view(" \t\r\n").find(text_[position_]) != std::string_view::npos) ++position_;
  }

  bool accept(char c) {
    if (peek() != c || atEnd()) return false;
    ++position_;
    return true;
  }

  bool value(std::size_t depth) {
    if (depth > KLJSON::kMaxDepth) return fail("nested too deeply");
    switch (peek()) {
      case '{':
        return object(depth);
      case '[':
        return array(depth);
      case '"':
        return string();
      case 't':
        return word("true");
      case 'f':
        return word("false");
      case 'n':
        return word("null");
      default:
        return peek() == '-' || isDigit(peek()) ? number() : failAt("expected a value");
    }
  }

  bool failAt(std::string expected) {
    const auto last = text_.substr(0, position_).find_last_not_of(" \t\r\n");
    const bool isAfterComma = last != text_.npos && text_[last] == ',';
    if (isAfterComma && (peek() == '}' || peek() == ']')) return fail(expected + ": the last comma is one too many");
    return fail(expected + std::string(likelyMistake(text_.substr(std::min(position_, text_.size())))));
  }

  bool object(std::size_t depth) {
    ++position_;
    skipBlanks();
    if (accept('}')) return true;
    do {
      skipBlanks();
      if (peek() != '"') return failAt("expected a member's name in double quotes");
      if (!string()) return false;
      skipBlanks();
      if (!accept(':')) return failAt("expected ':' after a member's name");
      skipBlanks();
      if (!value(depth + 1)) return false;
      skipBlanks();
    } while (accept(','));
    return accept('}') || failAt("expected ',' or '}'");
  }

  bool array(std::size_t depth) {
    ++position_;
    skipBlanks();
    if (accept(']')) return true;
    do {
      skipBlanks();
      if (!value(depth + 1)) return false;
      skipBlanks();
    } while (accept(','));
    return accept(']') || failAt("expected ',' or ']'");
  }

  bool word(std::string_view expected) {
    if (text_.substr(position_, expected.size()) != expected) return failAt("expected a value");
    position_ += expected.size();
    return true;
  }

  bool string() {
    ++position_;
    while (!atEnd() && peek() != '"') {
      if (static_cast<unsigned char>(peek()) < 0x20) return fail("a line break or control character inside a string");
      if (peek() == '\\' ? !escape() : !character()) return false;
    }
    return accept('"') || fail("expected '\"' at the end of a string");
  }

  bool character() {
    const std::size_t length = sequenceLength(text_.substr(position_));
    if (length == 0) return fail("this is no UTF-8");
    position_ += length;
    return true;
  }

  bool escape() {
    ++position_;
    if (accept('u')) return hexadecimalDigits();
    if (atEnd() || std::string_view("\"\\/bfnrt").find(peek()) == std::string_view::npos) return fail("unknown escape in a string");
    ++position_;
    return true;
  }

  bool hexadecimalDigits() {
    for (int i = 0; i < 4; ++i, ++position_) {
      if (std::isxdigit(static_cast<unsigned char>(peek())) == 0) return fail("expected four hexadecimal digits after \\u");
    }
    return true;
  }

  bool digits() {
    if (!isDigit(peek())) return fail("expected a digit");
    while (isDigit(peek())) ++position_;
    return true;
  }

  bool number() {
    accept('-');
    if (peek() == '0' && isDigit(position_ + 1 < text_.size() ? text_[position_ + 1] : '\0')) return fail("a number begins with 0");
    if (!digits()) return false;
    if (accept('.') && !digits()) return false;
    if (!accept('e') && !accept('E')) return true;
    if (!accept('+')) accept('-');
    return digits();
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::string message_;
};

JSONFault faultAt(std::string_view text, std::size_t position, std::string message) {
  JSONFault fault{1, 1, position, std::move(message)};
  for (const char c : text.substr(0, position)) {
    if (c == '\n') {
      ++fault.line;
      fault.column = 1;
    } else if (!isContinuation(c)) {
      ++fault.column;
    }
  }
  return fault;
}

}  // namespace

std::optional<JSONFault> findJSONFault(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (const auto kind = otherKind(text); !kind.empty()) return JSONFault{1, 1, 0, std::string(kind)};
  if (text.size() > KLJSON::kMaxBytes) return JSONFault{1, 1, 0, "longer than " + std::to_string(KLJSON::kMaxBytes) + " bytes"};
  Scanner scanner(text);
  if (scanner.document()) return std::nullopt;
  return faultAt(text, scanner.position(), scanner.message());
}

}  // namespace kaleo::tools
