#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Core/Model/KLFieldTable.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "kaleo/KLValue.h"

namespace kaleo {

// The coercions of fields: first those that a type brings with it, then those that a field names.

template <>
struct KLCoercion<bool> {
  static void parse(const KLValue* json, bool& member, KLParseContext&) { member = quillon_boolValue(json); }
  static void decode(const KLValue& archived, bool& member) { member = quillon_boolValue(&archived); }
  static std::optional<KLValue> encode(bool member) { return KLValue(member); }
};

template <>
struct KLCoercion<std::int64_t> {
  static void parse(const KLValue* json, std::int64_t& member, KLParseContext&) { member = quillon_integerValue(json); }
  static void decode(const KLValue& archived, std::int64_t& member) { member = quillon_integerValue(&archived); }
  static std::optional<KLValue> encode(std::int64_t member) { return KLValue(member); }
};

template <>
struct KLCoercion<double> {
  static void parse(const KLValue* json, double& member, KLParseContext&) { member = quillon_doubleValue(json); }
  static void decode(const KLValue& archived, double& member) { member = quillon_doubleValue(&archived); }
  static std::optional<KLValue> encode(double member) { return KLValue(member); }
};

/// Text: absent stays nothing; one that is too long gives "".
template <>
struct KLCoercion<std::optional<std::string>> {
  using Text = std::optional<std::string>;
  static void parse(const KLValue* json, Text& member, KLParseContext& context) {
    const bool isAdmitted = !json || !json->isString() || context.admitText(json->asString());
    member = isAdmitted ? quillon_stringValue(json) : "";
  }
  static void decode(const KLValue& archived, Text& member) {
    if (archived.isString()) member = archived.asString();
  }
  static std::optional<KLValue> encode(const Text& member) { return member ? std::optional(KLValue(*member)) : std::nullopt; }
};

/// A value as received.
template <>
struct KLCoercion<std::optional<KLValue>> {
  using Value = std::optional<KLValue>;
  static void parse(const KLValue* json, Value& member, KLParseContext&) { member = json ? Value(*json) : std::nullopt; }
  static void decode(const KLValue& archived, Value& member) { member = archived; }
  static Value encode(const Value& member) { return member; }
};

/// A model that is always built, from whatever the key holds.
template <KLHasFields Model>
struct KLCoercion<Model> {
  static void parse(const KLValue* json, Model& member, KLParseContext& context) { KLFields::parse(member, json, context); }
  static void decode(const KLValue& archived, Model& member) { KLFields::decode(member, archived); }
  static std::optional<KLValue> encode(const Model& member) { return KLFields::encode(member); }
};

/// A model that is built only when `Condition` holds for the value.
template <bool (*Condition)(const KLValue*)>
struct KLBuiltWhen {
  template <class Model>
  static void parse(const KLValue* json, std::optional<Model>& member, KLParseContext& context) {
    if (Condition(json)) KLFields::parse(member.emplace(), json, context);
  }
  template <class Model>
  static void decode(const KLValue& archived, std::optional<Model>& member) {
    if (archived.isObject()) KLFields::decode(member.emplace(), archived);
  }
  template <class Model>
  static std::optional<KLValue> encode(const std::optional<Model>& member) {
    return member ? std::optional(KLFields::encode(*member)) : std::nullopt;
  }
};
inline bool KLIsPresent(const KLValue* json) { return json != nullptr; }
inline bool KLIsObject(const KLValue* json) { return json && json->isObject(); }
inline bool KLIsFilledObject(const KLValue* json) { return KLIsObject(json) && !json->asObject().empty(); }

/// An object, else an empty one.
struct KLObjectOrEmpty {
  static KLValue empty() { return KLValue(KLObject{}); }
  static void parse(const KLValue* json, KLValue& member, KLParseContext&) { member = KLIsObject(json) ? *json : empty(); }
  static void decode(const KLValue& archived, KLValue& member) { member = archived.isObject() ? archived : empty(); }
  static std::optional<KLValue> encode(const KLValue& member) { return member; }
};

/// An object, else nothing.
struct KLObjectOrNothing : KLCoercion<std::optional<KLValue>> {
  static void parse(const KLValue* json, Value& member, KLParseContext&) {
    member = KLIsObject(json) ? Value(*json) : std::nullopt;
  }
};

/// An array of texts, kept as it came; an array with anything else or a text that is too long in it, and anything else, gives an
/// empty one.
struct KLTexts {
  static bool isTexts(const KLValue& value) {
    return value.isArray() && std::ranges::all_of(value.asArray(), [](const KLValue& element) { return element.isString(); });
  }
  static void parse(const KLValue* json, KLValue& member, KLParseContext& context) {
    member = json && isTexts(*json) ? admitted(*json, context) : KLValue(KLValue::Array{});
  }
  static KLValue admitted(const KLValue& texts, KLParseContext& context) {
    const auto& elements = texts.asArray();
    const std::size_t count = context.admit(elements.size(), KLParseContext::kMaxListLength);
    const auto end = elements.begin() + static_cast<std::ptrdiff_t>(count);
    const auto isAdmitted = [&](const KLValue& text) { return context.admitText(text.asString()); };
    if (!std::all_of(elements.begin(), end, isAdmitted)) return KLValue(KLValue::Array{});
    return count == elements.size() ? texts : KLValue(KLValue::Array(elements.begin(), end));
  }
  static void decode(const KLValue& archived, KLValue& member) {
    member = isTexts(archived) ? archived : KLValue(KLValue::Array{});
  }
  static std::optional<KLValue> encode(const KLValue& member) { return member; }
};

enum class KLStrangers {
  Skipped,  ///< elements that are no objects are left out
  Neutral,  ///< they give a model of neutral values
};

/// A list of models; what is no array gives an empty list.
template <KLStrangers Strangers>
struct KLList {
  template <class Model>
  static void parse(const KLValue* json, std::vector<Model>& member, KLParseContext& context) {
    member.clear();
    if (!json || !json->isArray()) return;
    const auto& elements = json->asArray();
    const std::size_t count = context.admit(elements.size(), KLParseContext::kMaxListLength);
    member.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (Strangers == KLStrangers::Neutral || elements[i].isObject())
        KLFields::parse(member.emplace_back(), &elements[i], context);
    }
  }
  template <class Model>
  static void decode(const KLValue& archived, std::vector<Model>& member) {
    member.clear();
    const auto& elements = archived.asArray();
    const std::size_t count = std::min(elements.size(), KLParseContext::kMaxListLength);
    member.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (elements[i].isObject()) KLFields::decode(member.emplace_back(), elements[i]);
    }
  }
  template <class Model>
  static std::optional<KLValue> encode(const std::vector<Model>& member) {
    KLValue::Array elements;
    elements.reserve(member.size());
    for (const Model& model : member) elements.push_back(KLFields::encode(model));
    return KLValue(std::move(elements));
  }
};

}  // namespace kaleo
