#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "kaleo/KLValue.h"

namespace kaleo {

class KLLog;
template <class T>
struct KLCoercion;

/// One member of a model under its names. A model lists its members once, in `static constexpr auto fields()`; parsing, archiving,
/// restoring and comparing run over that list.
///
/// `Coercion` turns values into the member and back. It has
///   static void parse(const KLValue* json, T& member, KLParseContext& context);  // `json` null: absent
///   static void decode(const KLValue& archived, T& member);
///   static std::optional<KLValue> encode(const T& member);                       // nothing: the key is left out
template <class Model, class Member, class Coercion>
struct KLField {
  Member Model::*member;
  std::string_view jsonKey;       ///< empty: not read from JSON
  std::string_view archiveKey;    ///< empty: not archived
  std::string_view otherJSONKey;  ///< read when `jsonKey` is absent; empty: none
};

/// A field under `Coercion`.
template <class Coercion, class Model, class Member>
constexpr auto KLFieldAs(Member Model::*member, std::string_view jsonKey, std::string_view archiveKey,
                         std::string_view other = {}) {
  return KLField<Model, Member, Coercion>{member, jsonKey, archiveKey, other};
}

/// A field under the coercion that belongs to its type.
template <class Model, class Member>
constexpr auto KLFieldOf(Member Model::*member, std::string_view jsonKey, std::string_view archiveKey) {
  return KLField<Model, Member, KLCoercion<Member>>{member, jsonKey, archiveKey, {}};
}

/// A field that only archives know.
template <class Model, class Member>
constexpr auto KLArchivedField(Member Model::*member, std::string_view archiveKey) {
  return KLFieldOf(member, {}, archiveKey);
}

/// What one parse shares: where it reports, and how much it may still build. The bounds keep a hostile document from being blown up
/// into many times its size, or nested until the stack ends; no honest campaign comes near them.
struct KLParseContext {
  static constexpr std::size_t kMaxListLength = 10'000;  ///< elements of one list of rules
  static constexpr std::size_t kMaxPlans = 100'000;      ///< plans of one configuration
  static constexpr std::size_t kMaxObjects = 4'000'000;  ///< elements of all lists of one configuration
  static constexpr std::size_t kMaxTextLength = 65'536;  ///< bytes of one text of a rule
  static constexpr int kMaxFilterNesting = 100;          ///< levels of permission filters; fits an archive's depth

  const KLLog* log = nullptr;
  std::size_t objectsLeft = kMaxObjects;
  int filterNesting = 0;

  /// How many of `count` elements may be built; logs when it is fewer.
  std::size_t admit(std::size_t count, std::size_t limit);
  /// Whether a text is short enough; logs when it is not.
  bool admitText(const std::string& text) const;
  void reportNesting() const;
};

template <class Model>
concept KLHasFields = requires {
  Model::fields();
};

/// What runs over the fields of a model. A model that derives something from its fields does so in `void compile()`, which runs
/// after parsing and after restoring.
namespace KLFields {

/// The list of a model, made once.
template <class Model>
inline constexpr auto kOf = Model::fields();

template <class Model, class Visitor>
void forEach(Visitor&& visit) {
  std::apply([&](const auto&... field) { (visit(field), ...); }, kOf<Model>);
}

template <class Model>
void compile(Model& model) {
  if constexpr (requires { model.compile(); }) model.compile();
}

/// The members of `object` under `keys`, each at its key's place; null: absent. One pass over the object, whatever its size.
template <std::size_t Count>
std::array<const KLValue*, Count> membersOf(const KLObject& object, const std::array<std::string_view, Count>& keys) {
  std::array<const KLValue*, Count> members{};
  for (const auto& [key, value] : object) {
    for (std::size_t i = 0; i < Count; ++i) {
      if (keys[i] == key) members[i] = &value;
    }
  }
  return members;
}

/// Fills `model` from `json`; what is no object, or absent, gives every member its neutral value.
template <class Model>
void parse(Model& model, const KLValue* json, KLParseContext& context) {
  static constexpr auto kKeys = std::apply([](const auto&... field) { return std::array{field.jsonKey...}; }, kOf<Model>);
  const auto members = json ? membersOf(json->asObject(), kKeys) : std::array<const KLValue*, kKeys.size()>{};
  std::size_t place = 0;
  forEach<Model>([&]<class M, class T, class Coercion>(const KLField<M, T, Coercion>& field) {
    const KLValue* value = members[place++];
    if (field.jsonKey.empty()) return;
    if (!value && json && !field.otherJSONKey.empty()) value = json->find(field.otherJSONKey);
    Coercion::parse(value, model.*field.member, context);
  });
  compile(model);
}

template <class Model>
KLValue encode(const Model& model) {
  KLObject object;
  object.reserve(std::tuple_size_v<decltype(Model::fields())>);
  forEach<Model>([&]<class M, class T, class Coercion>(const KLField<M, T, Coercion>& field) {
    if (field.archiveKey.empty()) return;
    if (auto value = Coercion::encode(model.*field.member)) object.set(std::string(field.archiveKey), std::move(*value));
  });
  return KLValue(std::move(object));
}

/// Fills `model` from an archive; a missing key leaves the member as it is.
template <class Model>
void decode(Model& model, const KLValue& archive) {
  forEach<Model>([&]<class M, class T, class Coercion>(const KLField<M, T, Coercion>& field) {
    if (field.archiveKey.empty()) return;
    if (const KLValue* value = archive.find(field.archiveKey)) Coercion::decode(*value, model.*field.member);
  });
  compile(model);
}

template <class Model>
bool equal(const Model& left, const Model& right) {
  return std::apply([&](const auto&... field) { return ((left.*field.member == right.*field.member) && ...); }, kOf<Model>);
}

}  // namespace KLFields

/// The operations of a model that its fields give. `Self` derives from it.
template <class Self>
class KLModel {
 public:
  /// `data` null or of another kind than an object: every member neutral.
  static Self fromResponseData(const KLValue* data) {
    KLParseContext context;
    Self model;
    KLFields::parse(model, data, context);
    return model;
  }
  KLValue encode() const { return KLFields::encode(static_cast<const Self&>(*this)); }
  static Self decode(const KLValue& archive) {
    Self model;
    KLFields::decode(model, archive);
    return model;
  }
  friend bool operator==(const Self& left, const Self& right) { return KLFields::equal(left, right); }
};

}  // namespace kaleo
