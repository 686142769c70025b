#include "Mutator.h"

#include <algorithm>
#include <sstream>

#include "JSONSpans.h"

namespace kaleo::fuzz {
namespace {

/// What may stand in the place of any JSON value, one to a line.
constexpr const char* kStrangers = R"(null
true
false
0
1
-1
2
7
0.5
-0.0
1e-300
1e300
-1e300
2147483647
4294967296
9223372036854775807
-9223372036854775808
18446744073709551616
1700000000
1700000000000
[]
{}
[[]]
[null]
[0]
["1", "2"]
[{}]
{"": 0}
{"$date": 1700000000}
{"$date": -1e300}
""
" "
"0"
"1"
"-1"
"0.5"
"100px"
"-5px"
"1e308"
"nan"
"inf"
"99999999999999999999"
"9223372036854775807"
"AND"
"or"
"MONTH"
"SECOND"
"23:59"
"-1:-1"
"99999999999:99999999999"
"2024-02-30 25:61:61"
"2024-03-10 02:30"
"E"
"all_window"
"\u0000"
"\ud800"
"\ud83d\ude00"
"%@%s%n{}"
"../../x"
"https://e.com/a.png"
"event.a.b."
"."
"notSet"
"between"
"isTrue"
"label"
"column"
"image"
"button"
"صلى‏")";
constexpr std::size_t kLongestRepeat = 2'000;
constexpr std::size_t kMostChanges = 6;

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

void replace(std::string& text, const JSONSpan& span, const std::string& value) {
  text.replace(span.begin, span.end - span.begin, value);
}

/// Takes a value out, with its name and a comma beside it.
void remove(std::string& text, const JSONSpan& span) {
  std::size_t begin = span.nameBegin;
  std::size_t end = span.end;
  if (end < text.size() && text[end] == ',') {
    ++end;
  } else if (begin > 0 && text[begin - 1] == ',') {
    --begin;
  }
  text.erase(begin, end - begin);
}

/// The same value, or the same member with `value`, once more before it.
void duplicate(std::string& text, const JSONSpan& span, const std::string& value) {
  text.insert(span.nameBegin, text.substr(span.nameBegin, span.begin - span.nameBegin) + value + ",");
}

void repeat(std::string& text, const JSONSpan& span, std::size_t times, std::size_t room) {
  const std::string once = "," + text.substr(span.nameBegin, span.end - span.nameBegin);
  std::string more;
  for (std::size_t count = std::min(times, room / once.size()); count > 0; --count) more += once;
  text.insert(span.end, more);
}

/// `before` and `after` so often around the value as `room` allows.
void surround(std::string& text, const JSONSpan& span, const std::string& before, const std::string& after, std::size_t times,
              std::size_t room) {
  std::string left, right;
  const std::size_t length = std::max<std::size_t>(before.size() + after.size(), 1);
  for (std::size_t count = std::min(times, room / length); count > 0; --count) {
    left += before;
    right += after;
  }
  text.insert(span.end, right);
  text.insert(span.begin, left);
}

/// Puts `outer` into itself where `inner` stands, again and again.
void nest(std::string& text, const JSONSpan& outer, const JSONSpan& inner, std::size_t times, std::size_t room) {
  surround(text, inner, text.substr(outer.begin, inner.begin - outer.begin), text.substr(inner.end, outer.end - inner.end), times,
           room);
}

}  // namespace

std::string Mutator::next() {
  std::string input = anyInput();
  for (std::size_t changes = 1 + below(kMostChanges); changes > 0; --changes) input = mutated(std::move(input));
  return input;
}

std::string Mutator::mutated(std::string input) {
  if (below(8) == 0) {
    changeBytes(input);
  } else {
    changeJSON(input);
  }
  if (input.size() > maxLength_) input.resize(maxLength_);
  return input;
}

void Mutator::changeJSON(std::string& input) {
  const std::vector<JSONSpan> spans = jsonSpans(input);
  if (spans.empty()) return changeBytes(input);
  const JSONSpan span = spans[below(spans.size())];
  const JSONSpan other = spans[below(spans.size())];
  const std::size_t room = maxLength_ - std::min(input.size(), maxLength_);
  const std::size_t times = std::size_t{1} << below(12);
  switch (below(9)) {
    case 0:
      return remove(input, span);
    case 1:
      return replace(input, span, input.substr(other.begin, other.end - other.begin));
    case 2:
      return replace(input, span, partOfAnother());
    case 3:
      return duplicate(input, span, stranger());
    case 4:
      return repeat(input, span, std::min(times, kLongestRepeat), room);
    case 5:
      return surround(input, span, "[", "]", times, room);
    case 6:
      return other.contains(span) ? nest(input, other, span, times, room) : surround(input, span, "{\"a\":", "}", times, room);
    default:
      return replace(input, span, stranger());
  }
}

void Mutator::changeBytes(std::string& input) {
  const std::size_t at = below(input.size() + 1);
  const std::size_t length = std::min(input.size() - at, below(std::size_t{1} << below(10)) + 1);
  switch (below(7)) {
    case 0:
      input.erase(at, length);
      break;
    case 1:
      input.insert(at, 1 + below(8), static_cast<char>(below(256)));
      break;
    case 2:
      input.insert(at, input.substr(below(input.size()), length));
      break;
    case 3: {
      const std::string& other = anyInput();
      input.replace(at, length, other.substr(below(other.size()), length));
      break;
    }
    case 4:
      for (std::size_t index = at; index < at + std::min<std::size_t>(length, 4); ++index) {
        input[index] = below(2) == 0 ? '\xff' : '\0';
      }
      break;
    case 5:
      if (at < input.size()) input[at] = static_cast<char>(below(256));
      break;
    default:
      if (at < input.size()) input[at] = static_cast<char>(input[at] ^ (1 << below(8)));
  }
}

std::string Mutator::stranger() {
  static const std::vector<std::string> strangers = lines(kStrangers);
  switch (below(8)) {
    case 0:
      return partOfAnother();
    case 1:
      return "\"" + std::string(std::size_t{1} << below(15), "a:. \t%1"[below(7)]) + "\"";
    case 2:
      return std::string(1 + below(400), '9');
    default:
      return strangers[below(strangers.size())];
  }
}

std::string Mutator::partOfAnother() {
  const std::string& other = anyInput();
  const std::vector<JSONSpan> spans = jsonSpans(other);
  if (spans.empty()) return "null";
  const JSONSpan& span = spans[below(spans.size())];
  return other.substr(span.begin, span.end - span.begin);
}

}  // namespace kaleo::fuzz
