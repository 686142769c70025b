#include "Nimbra/JSON.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <charconv>
#include <cmath>

namespace nimbra {
namespace {

using kaleo::KLBytes;
using kaleo::KLDate;
using kaleo::KLObject;
using kaleo::KLValue;

constexpr const char* kBytesKey = "$bytes";
constexpr const char* kDateKey = "$date";

void appendText(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += fmt::format("\\u{:04x}", static_cast<unsigned char>(c));
    } else {
      out += c;
    }
  }
  out += '"';
}

void appendDouble(std::string& out, double number) { out += std::isfinite(number) ? fmt::format("{}", number) : "null"; }

std::string hexadecimal(const KLBytes& bytes) {
  std::string digits;
  digits.reserve(bytes.size() * 2);
  for (const auto byte : bytes) fmt::format_to(std::back_inserter(digits), "{:02x}", byte);
  return digits;
}

KLBytes fromHexadecimal(std::string_view digits) {
  KLBytes bytes(digits.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) std::from_chars(&digits[2 * i], &digits[2 * i] + 2, bytes[i], 16);
  return bytes;
}

void append(std::string& out, const KLValue& value);

void appendArray(std::string& out, const KLValue::Array& array) {
  out += '[';
  for (const KLValue& element : array) {
    if (out.back() != '[') out += ',';
    append(out, element);
  }
  out += ']';
}

void appendObject(std::string& out, const KLObject& object) {
  out += '{';
  for (const auto& [key, member] : object) {
    if (out.back() != '{') out += ',';
    appendText(out, key);
    out += ':';
    append(out, member);
  }
  out += '}';
}

void append(std::string& out, const KLValue& value) {
  switch (value.type()) {
    case KLValue::Type::Null:
      out += "null";
      break;
    case KLValue::Type::Bool:
      out += value.asBool() ? "true" : "false";
      break;
    case KLValue::Type::Integer:
      out += fmt::format("{}", value.asInteger());
      break;
    case KLValue::Type::Double:
      appendDouble(out, value.asDouble());
      break;
    case KLValue::Type::String:
      appendText(out, value.asString());
      break;
    case KLValue::Type::Date:
      appendObject(out, {{kDateKey, value.asDate().secondsSince1970}});
      break;
    case KLValue::Type::Bytes:
      appendObject(out, {{kBytesKey, hexadecimal(value.asBytes())}});
      break;
    case KLValue::Type::Array:
      appendArray(out, value.asArray());
      break;
    case KLValue::Type::Object:
      appendObject(out, value.asObject());
      break;
  }
}

KLValue restored(const simdjson::dom::element& element);

KLValue restoredObject(const simdjson::dom::object& members) {
  KLObject object;
  for (const auto& [key, member] : members) object.set(std::string(key), restored(member));
  if (object.size() == 1) {
    if (const KLValue* digits = object.find(kBytesKey)) return fromHexadecimal(digits->asString());
    if (const KLValue* seconds = object.find(kDateKey)) return KLDate{seconds->asDouble()};
  }
  return object;
}

KLValue restored(const simdjson::dom::element& element) {
  using Type = simdjson::dom::element_type;
  switch (element.type()) {
    case Type::OBJECT:
      return restoredObject(element.get_object().value_unsafe());
    case Type::STRING:
      return element.get_string().value_unsafe();
    case Type::INT64:
      return KLValue(std::int64_t{element.get_int64().value_unsafe()});
    case Type::UINT64:
      return static_cast<double>(element.get_uint64().value_unsafe());
    case Type::DOUBLE:
      return element.get_double().value_unsafe();
    case Type::BOOL:
      return element.get_bool().value_unsafe();
    case Type::NULL_VALUE:
      return {};
    case Type::ARRAY:
      break;
  }
  const simdjson::dom::array members = element.get_array().value_unsafe();  // outlives the walk over it
  KLValue::Array array;
  for (const simdjson::dom::element member : members) array.push_back(restored(member));
  return array;
}

}  // namespace

std::string toJSON(const KLValue& value) {
  std::string out;
  append(out, value);
  return out;
}

std::optional<KLValue> fromJSON(std::string_view text) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  if (parser.parse(simdjson::padded_string(text)).get(root) != simdjson::SUCCESS) return std::nullopt;
  return restored(root);
}

}  // namespace nimbra
