#include "Core/Base/Network/KLQueryString.h"

#include <fmt/format.h>

#include <algorithm>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

constexpr std::string_view kUnescaped = "-._~/?";

using Pairs = std::vector<KLQueryStringPair>;

void append(Pairs& pairs, const std::optional<std::string>& key, const KLValue& value);

void appendObject(Pairs& pairs, const std::optional<std::string>& key, const KLObject& object) {
  std::vector<const KLObject::Entry*> members;
  members.reserve(object.size());
  for (const auto& member : object) members.push_back(&member);
  std::sort(members.begin(), members.end(), [](const auto* left, const auto* right) { return left->first < right->first; });
  for (const auto* member : members)
    append(pairs, key ? fmt::format("{}[{}]", *key, member->first) : member->first, member->second);
}

void append(Pairs& pairs, const std::optional<std::string>& key, const KLValue& value) {
  if (value.isObject()) return appendObject(pairs, key, value.asObject());
  if (!value.isArray()) return pairs.push_back({key.value_or(""), value});
  const std::string elementKey = key.value_or("") + "[]";
  for (const KLValue& element : value.asArray()) append(pairs, elementKey, element);
}

}  // namespace

std::string KLQueryStringPair::URLEncodedStringValue() const {
  if (!value || value->isNull()) return KLPercentEscapedStringFromString(field);
  return KLPercentEscapedStringFromString(field) + "=" + KLPercentEscapedStringFromString(quillon_description(*value));
}

std::string KLPercentEscapedStringFromString(std::string_view text) { return KLPercentEncode(text, kUnescaped); }

std::string KLQueryStringFromParameters(const KLValue& parameters) {
  std::string query;
  for (const auto& pair : KLQueryStringPairsFromDictionary(parameters)) {
    if (!query.empty()) query += '&';
    query += pair.URLEncodedStringValue();
  }
  return query;
}

Pairs KLQueryStringPairsFromDictionary(const KLValue& dictionary) {
  return KLQueryStringPairsFromKeyAndValue(std::nullopt, dictionary);
}

Pairs KLQueryStringPairsFromKeyAndValue(const std::optional<std::string>& key, const KLValue& value) {
  Pairs pairs;
  append(pairs, key, value);
  return pairs;
}

}  // namespace kaleo
