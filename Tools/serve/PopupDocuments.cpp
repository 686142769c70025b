#include "serve/PopupDocuments.h"

#include <fmt/format.h>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

constexpr const char* kConfigsFile = "user_popup_configs.json";
constexpr const char* kDisplaysFile = "popup_displays.json";

void replaceAll(std::string& text, std::string_view placeholder, const std::string& replacement) {
  for (std::size_t at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at + replacement.size())) {
    text.replace(at, placeholder.size(), replacement);
  }
}

/// `text` as it stands between the quotes of a JSON string.
std::string escaped(const std::string& text) {
  const std::string quoted = KLJSON::serialize(KLValue(text));
  return quoted.substr(1, quoted.size() - 2);
}

/// Replaces `key` of `object`, at its place.
KLValue with(const KLValue& object, const char* key, KLValue value) {
  KLObject changed = object.asObject();
  changed.set(key, std::move(value));
  return changed;
}

}  // namespace

std::string filledIn(std::string text, const Placeholders& placeholders) {
  replaceAll(text, "{{base}}", escaped(placeholders.base));
  replaceAll(text, "{{distinct_id}}", escaped(placeholders.distinctId));
  return text;
}

std::string PopupDocuments::require(const std::string& name) const {
  auto text = directory_.read(name);
  if (!text) throw DocumentError(404, fmt::format("{}: there is no such file in {}", name, directory_.root().string()));
  return std::move(*text);
}

KLValue PopupDocuments::parse(const std::string& name, const Placeholders& placeholders) const {
  const std::string text = require(name);
  refuseJSONFaults(name, text);
  KLError error;
  auto value = KLJSON::parse(filledIn(text, placeholders), &error);
  if (!value) throw DocumentError(500, fmt::format("{}:1:1: {}", name, error.localizedDescription));
  return std::move(*value);
}

KLValue PopupDocuments::withLayout(const KLValue& content, const std::string& source, const Placeholders& placeholders) const {
  const KLValue* layout = content.find("layout");
  if (layout == nullptr) return content;
  const std::string name = "layouts/" + layout->asString();
  const auto text = directory_.read(name);
  if (!text) throw DocumentError(500, fmt::format("{}:1:1: the layout {} is not there", source, name));
  refuseJSONFaults(name, *text);
  KLObject changed = content.asObject();
  changed.erase("layout");
  changed.set("content", filledIn(*text, placeholders));
  return changed;
}

KLValue PopupDocuments::withLayouts(const KLValue& plan, const Placeholders& placeholders) const {
  const KLValue* content = plan.find("popup_window_content");
  return content == nullptr ? plan : with(plan, "popup_window_content", withLayout(*content, kConfigsFile, placeholders));
}

std::string PopupDocuments::userPopupConfigs(const Placeholders& placeholders) const {
  const KLValue configs = parse(kConfigsFile, placeholders);
  const KLValue* plans = configs.find("popup_plans");
  if (plans == nullptr || !plans->isArray()) return KLJSON::serialize(configs);
  KLValue::Array served;
  for (const KLValue& plan : plans->asArray()) served.push_back(withLayouts(plan, placeholders));
  return KLJSON::serialize(with(configs, "popup_plans", std::move(served)));
}

std::string PopupDocuments::popupWindow(const std::string& id, const Placeholders& placeholders) const {
  if (id.find('/') != std::string::npos) throw DocumentError(404, "A popup window's id has no slash.");
  const std::string name = fmt::format("popup_windows/{}.json", id);
  return KLJSON::serialize(withLayout(parse(name, placeholders), name, placeholders));
}

std::string PopupDocuments::popupDisplays(const std::vector<std::string>& uuids, const std::string& distinctId,
                                          const Conversion& known) const {
  const KLValue times = directory_.read(kDisplaysFile) ? parse(kDisplaysFile, {}) : KLValue(KLObject{});
  KLValue::Array records;
  for (const std::string& uuid : uuids) {
    auto converted = known(uuid);
    const KLValue* time = times.find(uuid);
    if (time == nullptr) time = times.find("*");
    if (!converted && time != nullptr) converted = time->asString();
    if (!converted) continue;
    records.push_back(
        KLObject{{"distinct_id", distinctId}, {"popup_display_uuid", uuid}, {"display_time", ""}, {"convert_time", *converted}});
  }
  return KLJSON::serialize(std::move(records));
}

}  // namespace kaleo::tools
