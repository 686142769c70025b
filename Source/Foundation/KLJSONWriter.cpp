#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLNumberText.h"
#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

constexpr std::size_t kIndent = 2;

bool needsEscape(char character) { return static_cast<unsigned char>(character) < ' ' || character == '"' || character == '\\'; }

class Writer {
 public:
  explicit Writer(KLJSON::Style style) : pretty_(style == KLJSON::Style::Pretty) {}

  void write(const KLValue& value, std::size_t depth = 0);
  std::string take() { return std::move(text_); }

 private:
  void writeText(std::string_view text);
  void writeEscaped(char character);
  void writeDouble(double value);
  template <class Range, class WriteElement>
  void writeList(const Range& range, const char* brackets, std::size_t depth, WriteElement writeElement);
  void breakLine(std::size_t depth);

  std::string text_;
  bool pretty_;
};

void Writer::write(const KLValue& value, std::size_t depth) {
  switch (value.type()) {
    case KLValue::Type::Null:
      text_ += "null";
      break;
    case KLValue::Type::Bool:
      text_ += value.asBool() ? "true" : "false";
      break;
    case KLValue::Type::Integer:
      fmt::format_to(std::back_inserter(text_), "{}", value.asInteger());
      break;
    case KLValue::Type::Double:
      writeDouble(value.asDouble());
      break;
    case KLValue::Type::String:
      writeText(value.asString());
      break;
    case KLValue::Type::Date:
      writeDouble(value.asDate().secondsSince1970);
      break;
    case KLValue::Type::Bytes:
      writeText(KLBase64Encode(value.asBytes()));
      break;
    case KLValue::Type::Array:
      writeList(value.asArray(), "[]", depth, [&](const KLValue& element) { write(element, depth + 1); });
      break;
    case KLValue::Type::Object:
      writeList(value.asObject(), "{}", depth, [&](const KLObject::Entry& member) {
        writeText(member.first);
        text_ += pretty_ ? ": " : ":";
        write(member.second, depth + 1);
      });
      break;
  }
}

template <class Range, class WriteElement>
void Writer::writeList(const Range& range, const char* brackets, std::size_t depth, WriteElement writeElement) {
  if (depth >= KLJSON::kMaxDepth) {
    text_ += "null";
    return;
  }
  text_ += brackets[0];
  bool first = true;
  for (const auto& element : range) {
    if (!first) text_ += ',';
    first = false;
    breakLine(depth + 1);
    writeElement(element);
  }
  if (!first) breakLine(depth);
  text_ += brackets[1];
}

void Writer::breakLine(std::size_t depth) {
  if (!pretty_) return;
  text_ += '\n';
  text_.append(depth * kIndent, ' ');
}

void Writer::writeDouble(double value) {
  if (!std::isfinite(value)) {
    text_ += "null";
    return;
  }
  const std::string number = KLNumberText(value);
  text_ += number;
  if (number.find_first_of(".e") == std::string::npos) text_ += ".0";
}

void Writer::writeText(std::string_view text) {
  std::string repaired;
  if (!simdjson::validate_utf8(text)) {
    repaired = KLUTF8Repaired(text);
    text = repaired;
  }
  text_ += '"';
  while (!text.empty()) {
    const auto special = std::find_if(text.begin(), text.end(), needsEscape);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    text_ += text.substr(0, plain);
    if (special != text.end()) writeEscaped(*special);
    text.remove_prefix(std::min(plain + 1, text.size()));
  }
  text_ += '"';
}

void Writer::writeEscaped(char character) {
  constexpr std::string_view kSpecial = "\"\\\b\f\n\r\t";
  constexpr std::string_view kShort = "\"\\bfnrt";
  if (const std::size_t at = kSpecial.find(character); at != std::string_view::npos) {
    text_ += '\\';
    text_ += kShort[at];
  } else {
    fmt::format_to(std::back_inserter(text_), "\\u{:04x}", static_cast<unsigned>(character));
  }
}

bool isExpressible(const KLValue& value, std::size_t depth) {
  switch (value.type()) {
    case KLValue::Type::Double:
      return std::isfinite(value.asDouble());
    case KLValue::Type::Date:
    case KLValue::Type::Bytes:
      return false;
    case KLValue::Type::Array:
      return depth < KLJSON::kMaxDepth && std::all_of(value.asArray().begin(), value.asArray().end(),
                                                      [&](const KLValue& element) { return isExpressible(element, depth + 1); });
    case KLValue::Type::Object:
      return depth < KLJSON::kMaxDepth && std::all_of(value.asObject().begin(), value.asObject().end(),
                                                      [&](const auto& member) { return isExpressible(member.second, depth + 1); });
    default:
      return true;
  }
}

}  // namespace

std::string KLJSON::serialize(const KLValue& value, Style style) {
  Writer writer(style);
  writer.write(value);
  return writer.take();
}

bool KLJSON::isValidJSONObject(const KLValue& value) { return (value.isArray() || value.isObject()) && isExpressible(value, 0); }

}  // namespace kaleo
