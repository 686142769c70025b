#include "Foundation/KLJSON.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>

#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

error_code readNumber(auto& source, KLValue& value) {
  ondemand::number number;
  if (source.get_number().get(number) == simdjson::SUCCESS) {
    value = number.is_int64() ? KLValue(number.get_int64()) : KLValue(number.as_double());
    return simdjson::SUCCESS;
  }
  double real = 0;  // an integer of more than 64 bits, or no number at all
  const error_code error = source.get_double().get(real);
  if (!error) value = real;
  return error;
}

error_code readString(auto& source, KLValue& value) {
  std::string_view text;
  const error_code error = source.get_string().get(text);
  if (!error) value = text;
  return error;
}

// Whether the token at `source` is `literal` and not only begins so, which simdjson overlooks at the end of a document.
bool isLiteral(auto& source, std::string_view literal) {
  std::string_view token;
  if (simdjson::simdjson_result<std::string_view>(source.raw_json_token()).get(token)) return false;
  return token.substr(0, token.find_last_not_of(" \t\r\n") + 1) == literal;
}

error_code readBool(auto& source, KLValue& value) {
  if (!isLiteral(source, "true") && !isLiteral(source, "false")) return simdjson::T_ATOM_ERROR;
  bool flag = false;
  const error_code error = source.get_bool().get(flag);
  if (!error) value = flag;
  return error;
}

error_code readNull(auto& source, KLValue& value) {
  if (!isLiteral(source, "null")) return simdjson::N_ATOM_ERROR;
  bool isNull = false;
  const error_code error = source.is_null().get(isNull);
  if (!error) value = nullptr;
  return error;
}

error_code readValue(auto& source, std::size_t depth, KLValue& value);

error_code readArray(auto& source, std::size_t depth, KLValue& value) {
  ondemand::array elements;
  if (const error_code error = source.get_array().get(elements)) return error;
  KLValue::Array array;
  for (auto result : elements) {
    ondemand::value element;
    if (const error_code error = std::move(result).get(element)) return error;
    if (const error_code error = readValue(element, depth + 1, array.emplace_back())) return error;
  }
  value = std::move(array);
  return simdjson::SUCCESS;
}

error_code readObject(auto& source, std::size_t depth, KLValue& value) {
  ondemand::object members;
  if (const error_code error = source.get_object().get(members)) return error;
  std::vector<KLObject::Entry> entries;
  for (auto result : members) {
    ondemand::field member;
    if (const error_code error = std::move(result).get(member)) return error;
    std::string_view key;
    if (const error_code error = member.unescaped_key().get(key)) return error;
    auto& entry = entries.emplace_back(key, KLValue());
    if (const error_code error = readValue(member.value(), depth + 1, entry.second)) return error;
  }
  value = KLObject::fromEntries(std::move(entries));
  return simdjson::SUCCESS;
}

// `source` is the document, whose root may be a scalar, or a value within it: simdjson has two types for them with the same
// members.
error_code readValue(auto& source, std::size_t depth, KLValue& value) {
  ondemand::json_type type;
  if (const error_code error = source.type().get(type)) return error;
  if (depth >= KLJSON::kMaxDepth && (type == ondemand::json_type::array || type == ondemand::json_type::object)) {
    return simdjson::DEPTH_ERROR;
  }
  switch (type) {
    case ondemand::json_type::array:
      return readArray(source, depth, value);
    case ondemand::json_type::object:
      return readObject(source, depth, value);
    case ondemand::json_type::number:
      return readNumber(source, value);
    case ondemand::json_type::string:
      return readString(source, value);
    case ondemand::json_type::boolean:
      return readBool(source, value);
    default:
      return readNull(source, value);
  }
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

// Where reading stopped. Errors of the first pass over the bytes, which are found before any value is read, are looked for again.
std::size_t errorOffset(error_code code, std::string_view text, ondemand::document& document, bool isReading) {
  if (code == simdjson::UTF8_ERROR) return KLUTF8ErrorOffset(text);
  if (code == simdjson::UNCLOSED_STRING || code == simdjson::UNESCAPED_CHARS) return stringErrorOffset(text);
  if (code == simdjson::INCOMPLETE_ARRAY_OR_OBJECT) return text.size();
  const char* location = nullptr;
  if (!isReading || document.current_location().get(location)) return text.size();
  const auto offset = location - text.data();
  return offset < 0 ? 0 : std::min(static_cast<std::size_t>(offset), text.size());
}

KLError syntaxError(error_code code, std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto column = offset - (before.rfind('\n') + 1) + 1;  // without a line break before: npos + 1 is 0
  return {kKLJSONErrorDomain, static_cast<std::int64_t>(offset),
          fmt::format("{} (byte {}, line {}, column {})", simdjson::error_message(code), offset, line, column)};
}

}  // namespace

std::optional<KLValue> KLJSON::parse(std::string_view text, KLError* error) {
  if (text.size() > kMaxBytes) {
    if (error) *error = {kKLJSONErrorDomain, static_cast<std::int64_t>(kMaxBytes), fmt::format("longer than {} bytes", kMaxBytes)};
    return std::nullopt;
  }
  const std::size_t skipped = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const simdjson::padded_string padded(text.substr(skipped));
  ondemand::parser parser;
  ondemand::document document;
  KLValue value;
  error_code code = parser.iterate(padded).get(document);
  const bool isReading = code == simdjson::SUCCESS;
  if (isReading) code = readValue(document, 0, value);
  if (!code && document.current_location().error() != simdjson::OUT_OF_BOUNDS) code = simdjson::TRAILING_CONTENT;
  if (!code) return value;
  if (error) {
    const std::string_view read(padded.data(), padded.length());
    *error = syntaxError(code, text, skipped + errorOffset(code, read, document, isReading));
  }
  return std::nullopt;
}

std::optional<KLValue> KLJSON::parse(const KLBytes& bytes, KLError* error) {
  return parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), error);
}

}  // namespace kaleo
