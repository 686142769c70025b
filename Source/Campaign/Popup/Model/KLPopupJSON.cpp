#include "Campaign/Popup/Model/KLPopupJSON.h"

#include <algorithm>
#include <cmath>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLFile.h"

namespace kaleo {
namespace {

constexpr std::string_view kPixelSuffix = "px";
constexpr double kColorPartMax = 255.0;

double colorPart(const KLValue& color, std::string_view key, double whole) {
  return std::clamp(static_cast<double>(quillon_floatValue(dictionary_valueForKey(&color, key))) / whole, 0.0, 1.0);
}

double length(std::string_view text, const KLScreen& screen) {
  const double value = quillon_doublePrefix(text);
  if (text.ends_with(kPixelSuffix)) return std::ceil((value * KLShorterSide(screen)) / kKLPopupDesignWidth);
  return value == 1.0 ? kKLPopupWholeContainer : value;
}

bool leadsOut(const std::filesystem::path& name) {
  return name.is_absolute() || std::any_of(name.begin(), name.end(), [](const auto& part) { return part == ".."; });
}

}  // namespace

const KLValue* dictionary_valueForKey(const KLValue* dictionary, std::string_view key) {
  const KLValue* value = dictionary ? dictionary->find(key) : nullptr;
  return value && !value->isNull() ? value : nullptr;
}

std::optional<KLColor> dictionary_colorForKey(const KLValue* dictionary, std::string_view key) {
  const KLValue* color = dictionary_valueForKey(dictionary, key);
  if (!color || !color->isObject()) return std::nullopt;
  return KLColor{colorPart(*color, "r", kColorPartMax), colorPart(*color, "g", kColorPartMax),
                 colorPart(*color, "b", kColorPartMax), colorPart(*color, "a", 1)};
}

double dictionary_pixelForKey(const KLValue* dictionary, std::string_view key, const KLPopupReading& reading) {
  const KLValue* value = dictionary_valueForKey(dictionary, key);
  if (!value) return 0;
  if (!value->isString()) {
    reading.log.error("Popup length \"{}\" is not a string and reads 0: {}", key, quillon_description(*value));
    return 0;
  }
  return std::clamp(length(value->asString(), reading.screen), -kKLPopupMaxLength, kKLPopupMaxLength);
}

std::optional<std::string> dictionary_stringForKey(const KLValue* dictionary, std::string_view key) {
  const KLValue* value = dictionary_valueForKey(dictionary, key);
  return value && value->isString() ? std::optional(value->asString()) : std::nullopt;
}

std::optional<std::string> dictionary_identifierForKey(const KLValue* dictionary, std::string_view key) {
  const KLValue* value = dictionary_valueForKey(dictionary, key);
  return value && (value->isString() || value->isNumber()) ? quillon_stringValue(value) : std::nullopt;
}

bool dictionary_boolForKey(const KLValue* dictionary, std::string_view key) {
  return quillon_boolValue(dictionary_valueForKey(dictionary, key));
}

double KLShorterSide(const KLScreen& screen) {
  const KLSize size = screen.size();
  return std::min(size.width, size.height);
}

std::optional<std::string> KLResourcePath(const std::filesystem::path& directory, const std::string& name) {
  if (name.empty() || leadsOut(name)) return std::nullopt;
  const auto path = directory / name;
  return KLFile::exists(path) ? std::optional(path.string()) : std::nullopt;
}

}  // namespace kaleo
