#include "Core/Nimbra/KLStoreManager.h"

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

/// The value when it is of the kind that `is` tells; a host store answers whatever was put into it.
std::optional<KLValue> ofKind(std::optional<KLValue> value, bool (KLValue::*is)() const noexcept) {
  if (value && !((*value).*is)()) return std::nullopt;
  return value;
}

const KLValue* pointer(const std::optional<KLValue>& value) { return value ? &*value : nullptr; }

}  // namespace

std::optional<KLValue> KLStoreManager::objectForKey(const std::string& key) const {
  try {
    const auto store = host_.nbStoreManager();
    return store ? store->objectForKey(key) : std::nullopt;
  } catch (...) {  // a host that throws has no value
    return std::nullopt;
  }
}

std::optional<std::string> KLStoreManager::stringForKey(const std::string& key) const {
  const auto value = ofKind(objectForKey(key), &KLValue::isString);
  return value ? std::optional(value->asString()) : std::nullopt;
}

std::optional<KLValue::Array> KLStoreManager::arrayForKey(const std::string& key) const {
  const auto value = ofKind(objectForKey(key), &KLValue::isArray);
  return value ? std::optional(value->asArray()) : std::nullopt;
}

std::optional<KLValue> KLStoreManager::dictionaryForKey(const std::string& key) const {
  return ofKind(objectForKey(key), &KLValue::isObject);
}

std::optional<KLBytes> KLStoreManager::dataForKey(const std::string& key) const {
  const auto value = ofKind(objectForKey(key), &KLValue::isBytes);
  return value ? std::optional(value->asBytes()) : std::nullopt;
}

std::int64_t KLStoreManager::integerForKey(const std::string& key) const {
  return quillon_integerValue(pointer(objectForKey(key)));
}
float KLStoreManager::floatForKey(const std::string& key) const { return quillon_floatValue(pointer(objectForKey(key))); }
double KLStoreManager::doubleForKey(const std::string& key) const { return quillon_doubleValue(pointer(objectForKey(key))); }
bool KLStoreManager::boolForKey(const std::string& key) const { return quillon_boolValue(pointer(objectForKey(key))); }

void KLStoreManager::setObject(const KLValue& value, const std::string& key) const {
  try {
    if (const auto store = host_.nbStoreManager()) store->setObject(value, key);
  } catch (...) {  // nothing is stored
  }
}

void KLStoreManager::removeObjectForKey(const std::string& key) const {
  try {
    if (const auto store = host_.nbStoreManager()) store->removeObjectForKey(key);
  } catch (...) {  // nothing is removed
  }
}

bool KLStoreManager::isRegisteredCustomStorePlugin() const {
  try {
    const auto store = host_.nbStoreManager();
    return store && store->isRegisteredCustomStorePlugin();
  } catch (...) {
    return false;
  }
}

}  // namespace kaleo
