#include "check/Alike.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

KLValue ordered(const KLValue& value) {
  if (value.isArray()) {
    KLValue::Array elements;
    for (const KLValue& element : value.asArray()) elements.push_back(ordered(element));
    return elements;
  }
  if (!value.isObject()) return value;
  std::map<std::string, KLValue> members;
  for (const auto& [key, member] : value.asObject()) members.emplace(key, ordered(member));
  KLObject object;
  for (auto& [key, member] : members) object.set(key, std::move(member));
  return object;
}

}  // namespace

std::size_t Alike::numberOf(const At& at) {
  if (!at.isGiven()) return 0;
  return numbers_.emplace(KLJSON::serialize(ordered(*at.value())), numbers_.size() + 1).first->second;
}

}  // namespace kaleo::tools
