#include "check/CheckedDocument.h"

#include <simdjson.h>

#include <algorithm>
#include <map>
#include <numeric>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The values that are asked for, as a tree.
struct Wanted {
  std::map<std::string, Wanted, std::less<>> inside;
  std::optional<std::size_t> offset;

  Wanted& at(std::string_view pointer) {
    if (pointer.empty()) return *this;
    const auto end = std::min(pointer.find('/', 1), pointer.size());
    return inside[keyOfToken(pointer.substr(1, end - 1))].at(pointer.substr(end));
  }

  /// Of members with the same name the last one counts.
  void forget() {
    offset.reset();
    for (auto& [key, wanted] : inside) wanted.forget();
  }

  void inherit(std::size_t around) {
    if (!offset) offset = around;
    for (auto& [key, wanted] : inside) wanted.inherit(*offset);
  }
};

void locate(ondemand::value value, const char* start, Wanted& wanted) {
  wanted.forget();
  wanted.offset = static_cast<std::size_t>(value.raw_json_token().data() - start);
  if (wanted.inside.empty()) return;
  const ondemand::json_type type = value.type();
  if (type == ondemand::json_type::object) {
    for (auto member : value.get_object()) {
      const auto found = wanted.inside.find(std::string_view(member.unescaped_key()));
      if (found != wanted.inside.end()) locate(member.value(), start, found->second);
    }
  } else if (type == ondemand::json_type::array) {
    std::size_t index = 0;
    for (auto element : value.get_array()) {
      const auto found = wanted.inside.find(std::to_string(index++));
      if (found != wanted.inside.end()) locate(element.value(), start, found->second);
    }
  }
}

unsigned codeUnit(std::string_view escape) {
  return static_cast<unsigned>(std::stoul(std::string(escape.substr(2, 4)), nullptr, 16));
}

/// Length in `raw` of the character at its start, and in bytes once escapes are resolved.
std::pair<std::size_t, std::size_t> characterAt(std::string_view raw) {
  if (raw[0] != '\\') return {1, 1};
  if (raw[1] != 'u') return {2, 1};
  const unsigned unit = codeUnit(raw);
  if (unit < 0x80) return {6, 1};
  if (unit < 0x800) return {6, 2};
  const bool isPair = unit >= 0xD800 && unit < 0xDC00 && raw.size() >= 12 && raw[6] == '\\' && raw[7] == 'u';
  return isPair ? std::pair<std::size_t, std::size_t>{12, 4} : std::pair<std::size_t, std::size_t>{6, 3};
}

/// Where in the written text, which begins with its quote, the byte `inside` of its content stands.
std::size_t offsetInText(std::string_view raw, std::size_t inside) {
  std::size_t position = 1;
  for (std::size_t content = 0; content < inside && position + 1 < raw.size();) {
    const auto [written, read] = characterAt(raw.substr(position));
    position += written;
    content += read;
  }
  return position;
}

using Duplicates = std::vector<CheckedDocument::Duplicate>;

void collectDuplicates(ondemand::value value, const std::string& pointer, Duplicates& found) {
  const ondemand::json_type type = value.type();
  if (type == ondemand::json_type::object) {
    std::map<std::string, std::size_t, std::less<>> counts;
    for (auto member : value.get_object()) {
      const std::string key(std::string_view(member.unescaped_key()));
      ++counts[key];
      collectDuplicates(member.value(), pointer + "/" + pointerToken(key), found);
    }
    for (const auto& [key, count] : counts) {
      if (count > 1) found.push_back({pointer + "/" + pointerToken(key), key, count});
    }
  } else if (type == ondemand::json_type::array) {
    std::size_t index = 0;
    for (auto element : value.get_array()) collectDuplicates(element.value(), pointer + "/" + std::to_string(index++), found);
  }
}

}  // namespace

struct CheckedDocument::Source {
  explicit Source(std::string_view withMark)
      : text(withMark.starts_with(kByteOrderMark) ? withMark.substr(kByteOrderMark.size()) : withMark) {}

  /// Runs `inside` on the root, unless that is neither object nor array.
  template <class Inside>
  void walk(Inside inside) {
    ondemand::document document;
    ondemand::value root;
    if (!parser.iterate(text).get(document) && !document.get_value().get(root)) inside(root);
  }
  std::string_view view() const { return {text.data(), text.size()}; }

  simdjson::padded_string text;
  ondemand::parser parser;
};

CheckedDocument::CheckedDocument(std::string name, const std::string& text)
    : name_(std::move(name)), root_(KLJSON::parse(text).value_or(KLValue())), source_(std::make_unique<Source>(text)) {}

CheckedDocument::~CheckedDocument() = default;

std::vector<std::size_t> CheckedDocument::offsetsOf(const std::vector<Spot>& spots) const {
  Wanted wanted;
  for (const Spot& spot : spots) wanted.at(spot.pointer);
  source_->walk([&](ondemand::value root) { locate(root, source_->text.data(), wanted); });
  wanted.inherit(std::min(source_->view().find_first_not_of(" \t\r\n"), source_->text.size()));
  std::vector<std::size_t> offsets;
  for (const Spot& spot : spots) {
    const std::size_t offset = *wanted.at(spot.pointer).offset;
    offsets.push_back(spot.inside ? offset + offsetInText(source_->view().substr(offset), *spot.inside) : offset);
  }
  return offsets;
}

std::vector<TextPlace> CheckedDocument::placesOf(const std::vector<std::size_t>& offsets) const {
  std::vector<std::size_t> order(offsets.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, {}, [&offsets](std::size_t i) { return offsets[i]; });
  std::vector<TextPlace> places(offsets.size());
  TextPlace place;
  std::size_t position = 0;
  for (const std::size_t i : order) {
    for (const char c : source_->view().substr(position, offsets[i] - position)) place.advance(c);
    position = offsets[i];
    places[i] = place;
  }
  return places;
}

std::vector<CheckedDocument::Duplicate> CheckedDocument::duplicates() const {
  std::vector<Duplicate> found;
  source_->walk([&found](ondemand::value root) { collectDuplicates(root, "", found); });
  return found;
}

const std::string& At::text() const {
  static const std::string kNone;
  return isText() ? value_->asString() : kNone;
}

At At::operator[](std::string_view key) const {
  return {*document_, value_ == nullptr ? nullptr : value_->find(key), pointer_ + "/" + pointerToken(key), present_};
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

std::string keyOfToken(std::string_view token) {
  std::string key;
  for (std::size_t i = 0; i < token.size(); ++i) {
    const bool isEscape = token[i] == '~' && i + 1 < token.size();
    key += isEscape ? (token[++i] == '1' ? '/' : '~') : token[i];
  }
  return key;
}

}  // namespace kaleo::tools
