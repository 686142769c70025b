#include "Foundation/KLJSON.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <iterator>

#include "Foundation/KLNumberText.h"
#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The token of a scalar but a string, without the blanks after it.
std::string_view tokenOf(ondemand::value& source) {
  const std::string_view token = source.raw_json_token();
  return token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
}

// Steps over the digits at the beginning of `text`. Answers whether there are any.
bool skipDigits(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(end);
  return end > 0;
}

// RFC 8259, section 6.
bool isNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  if (text.starts_with('0')) {
    text.remove_prefix(1);
  } else if (!skipDigits(text)) {
    return false;
  }
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    if (!skipDigits(text)) return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    if (!skipDigits(text)) return false;
  }
  return text.empty();
}

// Not by simdjson, whose version 3.0 reads numbers of more than 19 digits wrongly.
error_code readNumber(ondemand::value& source, KLValue& value) {
  const std::string_view token = tokenOf(source);
  if (!isNumber(token)) return simdjson::NUMBER_ERROR;
  std::int64_t integer = 0;
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), integer);
  if (error == std::errc() && end == token.data() + token.size()) {
    value = integer;
    return simdjson::SUCCESS;
  }
  const bool negative = token.starts_with('-');
  const double magnitude = KLDecimalPrefix(token.substr(negative ? 1 : 0));
  if (std::isinf(magnitude)) return simdjson::NUMBER_OUT_OF_RANGE;
  value = negative ? -magnitude : magnitude;
  return simdjson::SUCCESS;
}

error_code readLiteral(ondemand::value& source, KLValue& value) {
  const std::string_view token = tokenOf(source);
  if (token == "null") return simdjson::SUCCESS;  // which `value` is
  value = token == "true";
  return token == "true" || token == "false" ? simdjson::SUCCESS : simdjson::T_ATOM_ERROR;
}

// Short texts come again and again in a document: units, operators, names. One that was read lately is shared, not made anew.
class RecentTexts {
 public:
  KLValue valueOf(std::string_view text) {
    if (text.size() > kLongest) return text;
    KLValue& recent = recent_[std::hash<std::string_view>{}(text) % recent_.size()];
    if (!recent.isString() || recent.asString() != text) recent = text;
    return recent;
  }

 private:
  static constexpr std::size_t kLongest = 32;
  std::array<KLValue, 256> recent_;
};

// What `all` holds from place `first` on, taken out of it, in memory of just its size.
template <class T>
std::vector<T> takenFrom(std::vector<T>& all, std::size_t first) {
  const auto begin = all.begin() + static_cast<std::ptrdiff_t>(first);
  std::vector<T> taken(std::make_move_iterator(begin), std::make_move_iterator(all.end()));
  all.erase(begin, all.end());
  return taken;
}

// Builds values. What belongs to arrays and objects that are still open is collected in two stacks that all of them share.
class Reader {
 public:
  // `value` becomes the array of what `elements` gives. At an error, what is open stays in the stacks.
  error_code readArray(ondemand::array& elements, std::size_t depth, KLValue& value);

 private:
  // `value` is null before.
  error_code readValue(ondemand::value& source, std::size_t depth, KLValue& value);
  error_code readString(ondemand::value& source, KLValue& value);
  error_code readObject(ondemand::object& members, std::size_t depth, KLValue& value);

  std::vector<KLValue> elements_;
  std::vector<KLObject::Entry> members_;
  RecentTexts texts_;
};

error_code Reader::readString(ondemand::value& source, KLValue& value) {
  std::string_view text;
  const error_code error = source.get_string().get(text);
  if (!error) value = texts_.valueOf(text);
  return error;
}

error_code Reader::readArray(ondemand::array& elements, std::size_t depth, KLValue& value) {
  const std::size_t first = elements_.size();
  for (auto result : elements) {
    ondemand::value source;
    KLValue element;
    if (const error_code error = std::move(result).get(source)) return error;
    if (const error_code error = readValue(source, depth, element)) return error;
    elements_.push_back(std::move(element));
  }
  value = takenFrom(elements_, first);
  return simdjson::SUCCESS;
}

error_code Reader::readObject(ondemand::object& members, std::size_t depth, KLValue& value) {
  const std::size_t first = members_.size();
  for (auto result : members) {
    ondemand::field source;
    if (const error_code error = std::move(result).get(source)) return error;
    std::string_view key;
    if (const error_code error = source.unescaped_key().get(key)) return error;
    KLValue member;
    if (const error_code error = readValue(source.value(), depth, member)) return error;
    members_.emplace_back(key, std::move(member));
  }
  value = KLObject::fromEntries(takenFrom(members_, first));
  return simdjson::SUCCESS;
}

error_code Reader::readValue(ondemand::value& source, std::size_t depth, KLValue& value) {
  ondemand::json_type type;
  if (const error_code error = source.type().get(type)) return error;
  switch (type) {
    case ondemand::json_type::array: {
      ondemand::array elements;
      if (depth >= KLJSON::kMaxDepth) return simdjson::DEPTH_ERROR;
      if (const error_code error = source.get_array().get(elements)) return error;
      return readArray(elements, depth + 1, value);
    }
    case ondemand::json_type::object: {
      ondemand::object members;
      if (depth >= KLJSON::kMaxDepth) return simdjson::DEPTH_ERROR;
      if (const error_code error = source.get_object().get(members)) return error;
      return readObject(members, depth + 1, value);
    }
    case ondemand::json_type::number:
      return readNumber(source, value);
    case ondemand::json_type::string:
      return readString(source, value);
    default:
      return readLiteral(source, value);
  }
}

// `text` as the only element of an array. simdjson treats scalars apart when they are the root, and laxly.
simdjson::padded_string inBrackets(std::string_view text) {
  simdjson::padded_string padded(text.size() + 2);
  padded.data()[0] = '[';
  std::copy(text.begin(), text.end(), padded.data() + 1);
  padded.data()[text.size() + 1] = ']';
  return padded;
}

error_code readDocument(ondemand::document& document, KLValue& value) {
  ondemand::array roots;
  KLValue array;
  if (const error_code error = document.get_array().get(roots)) return error;
  if (const error_code error = Reader().readArray(roots, 0, array)) return error;
  const auto& values = array.asArray();
  if (values.empty()) return simdjson::EMPTY;
  if (values.size() > 1 || document.current_location().error() != simdjson::OUT_OF_BOUNDS) return simdjson::TRAILING_CONTENT;
  value = values.front();
  return simdjson::SUCCESS;
}

// Where a string holds a bare control character, or else where a string begins that does not end.
std::size_t stringErrorOffset(std::string_view text) {
  std::size_t start = text.size();
  bool within = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') {
      within = !within;
      start = at;
    } else if (within && text[at] == '\\') {
      ++at;
    } else if (within && static_cast<unsigned char>(text[at]) < ' ') {
      return at;
    }
  }
  return within ? start : text.size();
}

// Where in `text` reading stopped. Errors of the first pass over the bytes, found before any value is read, are looked for again.
std::size_t errorOffset(error_code code, std::string_view text, ondemand::document& document, const char* begin) {
  if (code == simdjson::UTF8_ERROR) return KLUTF8ErrorOffset(text);
  if (code == simdjson::UNCLOSED_STRING || code == simdjson::UNESCAPED_CHARS) return stringErrorOffset(text);
  const char* location = nullptr;
  if (document.current_location().get(location)) return text.size();
  return static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(location - begin, 0, static_cast<std::ptrdiff_t>(text.size())));
}

KLError syntaxError(error_code code, std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto column = offset - (before.rfind('\n') + 1) + 1;  // without a line break before: npos + 1 is 0
  return {code == simdjson::DEPTH_ERROR ? KLJSON::kBoundErrorDomain : kKLJSONErrorDomain, static_cast<std::int64_t>(offset),
          fmt::format("{} (byte {}, line {}, column {})", simdjson::error_message(code), offset, line, column)};
}

}  // namespace

std::optional<KLValue> KLJSON::parse(std::string_view text, KLError* error) {
  if (text.size() > kMaxBytes) {
    if (error) *error = {kBoundErrorDomain, static_cast<std::int64_t>(kMaxBytes), fmt::format("longer than {} bytes", kMaxBytes)};
    return std::nullopt;
  }
  const std::size_t skipped = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::string_view json = text.substr(skipped);
  const simdjson::padded_string padded = inBrackets(json);
  ondemand::parser parser;
  ondemand::document document;
  KLValue value;
  error_code code = parser.iterate(padded).get(document);
  if (!code) code = readDocument(document, value);
  if (!code) return value;
  if (error) *error = syntaxError(code, text, skipped + errorOffset(code, json, document, padded.data() + 1));
  return std::nullopt;
}

std::optional<KLValue> KLJSON::parse(const KLBytes& bytes, KLError* error) {
  return parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), error);
}

}  // namespace kaleo
