#include "lines/EventLine.h"

#include <fmt/format.h>

#include <utility>

#include "Foundation/KLJSON.h"
#include "json/JSONFault.h"

namespace kaleo::tools {
namespace {

constexpr const char* kDateKey = "$date";

std::optional<KLDate> dateOf(const KLObject& object) {
  if (object.size() != 1) return std::nullopt;
  const KLValue* const seconds = object.find(kDateKey);
  return isNumber(seconds) ? std::optional(KLDate{seconds->asDouble()}) : std::nullopt;
}

std::optional<KLValue> withDates(const KLValue& value);

/// The properties of an event, or an object within them; nothing when there are no dates in it, as in most.
std::optional<KLValue> membersWithDates(const KLObject& object) {
  std::optional<KLObject> changed;
  for (const auto& [key, member] : object) {
    auto dated = withDates(member);
    if (!dated) continue;
    if (!changed) changed = object;
    changed->set(key, std::move(*dated));
  }
  return changed ? std::optional<KLValue>(std::move(*changed)) : std::nullopt;
}

std::optional<KLValue> elementsWithDates(const KLValue::Array& array) {
  std::optional<KLValue::Array> changed;
  for (std::size_t i = 0; i < array.size(); ++i) {
    auto dated = withDates(array[i]);
    if (!dated) continue;
    if (!changed) changed = array;
    (*changed)[i] = std::move(*dated);
  }
  return changed ? std::optional<KLValue>(std::move(*changed)) : std::nullopt;
}

std::optional<KLValue> withDates(const KLValue& value) {
  if (value.isArray()) return elementsWithDates(value.asArray());
  if (!value.isObject()) return std::nullopt;
  if (const auto date = dateOf(value.asObject())) return KLValue(*date);
  return membersWithDates(value.asObject());
}

}  // namespace

std::optional<KLValue> parseObjectLine(std::string_view text, std::string& fault) {
  KLError error;
  auto line = KLJSON::parse(text, &error);
  if (line && line->isObject()) return line;
  if (line) {
    fault = "this is no object";
  } else {
    const auto found = findJSONFault(text);
    fault = found ? fmt::format("column {}: {}", found->column, found->message) : error.localizedDescription;
  }
  return std::nullopt;
}

bool isNumber(const KLValue* value) { return value && (value->isInteger() || value->isDouble()); }

KLValue recordWithDates(const KLValue& record) {
  const KLValue* const properties = record.find("properties");
  auto dated = properties && properties->isObject() ? membersWithDates(properties->asObject()) : std::nullopt;
  if (!dated) return record;
  KLObject changed = record.asObject();
  changed.set("properties", std::move(*dated));
  return changed;
}

std::string faultOfUser(const KLValue& user) {
  if (!user.isObject()) return "\"user\" is no object";
  const KLValue* const distinctId = user.find("distinct_id");
  return distinctId && distinctId->isString() ? "" : "\"user\" has no text \"distinct_id\"";
}

}  // namespace kaleo::tools
