#include "check/CheckedDocument.h"

#include <simdjson.h>

#include <algorithm>
#include <optional>
#include <set>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

TextPlace placeAt(std::string_view before) {
  const auto lastBreak = before.rfind('\n');
  const std::string_view line = lastBreak == std::string_view::npos ? before : before.substr(lastBreak + 1);
  const auto characters = std::ranges::count_if(line, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
  return {1 + static_cast<std::size_t>(std::ranges::count(before, '\n')), 1 + static_cast<std::size_t>(characters)};
}

void collectDuplicates(ondemand::value value, const std::string& pointer, std::vector<std::string>& found);

void collectInObject(ondemand::object object, const std::string& pointer, std::vector<std::string>& found) {
  std::set<std::string, std::less<>> seen;
  for (auto member : object) {
    const std::string key(std::string_view(member.unescaped_key()));
    const std::string inside = pointer + "/" + pointerToken(key);
    if (!seen.insert(key).second) found.push_back(inside);
    collectDuplicates(member.value(), inside, found);
  }
}

void collectInArray(ondemand::array array, const std::string& pointer, std::vector<std::string>& found) {
  std::size_t index = 0;
  for (auto element : array) collectDuplicates(element.value(), pointer + "/" + std::to_string(index++), found);
}

void collectDuplicates(ondemand::value value, const std::string& pointer, std::vector<std::string>& found) {
  if (value.type() == ondemand::json_type::object) collectInObject(value.get_object(), pointer, found);
  if (value.type() == ondemand::json_type::array) collectInArray(value.get_array(), pointer, found);
}

}  // namespace

struct CheckedDocument::Source {
  explicit Source(std::string_view withMark) : mark(withMark.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0) {
    text = simdjson::padded_string(withMark.substr(mark));
  }

  /// Where in the text the value begins; nothing when there is none.
  std::optional<std::size_t> offsetOf(const std::string& pointer) {
    ondemand::document document;
    if (parser.iterate(text).get(document)) return std::nullopt;
    ondemand::value value;
    if (document.at_pointer(pointer).get(value)) return std::nullopt;
    return static_cast<std::size_t>(value.raw_json_token().data() - text.data());
  }

  std::size_t mark;
  simdjson::padded_string text;
  ondemand::parser parser;
};

CheckedDocument::CheckedDocument(std::string name, const std::string& text)
    : name_(std::move(name)), root_(KLJSON::parse(text).value_or(KLValue())), source_(std::make_unique<Source>(text)) {}

CheckedDocument::~CheckedDocument() = default;

TextPlace CheckedDocument::placeOf(std::string_view pointer) const {
  for (std::string nearest(pointer); !nearest.empty(); nearest.erase(nearest.rfind('/'))) {
    if (const auto offset = source_->offsetOf(nearest)) return placeAt({source_->text.data(), *offset});
  }
  return {};
}

std::vector<std::string> CheckedDocument::duplicates() const {
  std::vector<std::string> found;
  ondemand::document document;
  ondemand::value root;
  if (source_->parser.iterate(source_->text).get(document) || document.get_value().get(root)) return found;
  collectDuplicates(root, "", found);
  return found;
}

const std::string& At::text() const {
  static const std::string kNone;
  return isText() ? value_->asString() : kNone;
}

At At::operator[](std::string_view key) const {
  return {*document_, value_ == nullptr ? nullptr : value_->find(key), pointer_ + "/" + pointerToken(key)};
}

std::vector<At> At::elements() const {
  std::vector<At> elements;
  if (value_ == nullptr || !value_->isArray()) return elements;
  for (const KLValue& element : value_->asArray()) {
    elements.push_back({*document_, &element, pointer_ + "/" + std::to_string(elements.size())});
  }
  return elements;
}

std::string pointerToken(std::string_view key) {
  std::string token;
  for (const char c : key) {
    if (c == '~') {
      token += "~0";
    } else if (c == '/') {
      token += "~1";
    } else {
      token += c;
    }
  }
  return token;
}

}  // namespace kaleo::tools
