#include "Nimbra/KeyValueStore.h"

#include "Nimbra/Files.h"
#include "Nimbra/JSON.h"

namespace nimbra {

using kaleo::KLValue;

KeyValueStore::KeyValueStore(std::filesystem::path file, bool encrypted) : file_(std::move(file)), encrypted_(encrypted) {
  if (const auto text = readFile(file_)) values_ = fromJSON(*text).value_or(KLValue()).asObject();
}

std::optional<KLValue> KeyValueStore::objectForKey(const std::string& key) const {
  const std::lock_guard lock(mutex_);
  const KLValue* value = values_.find(key);
  return value == nullptr ? std::nullopt : std::optional(*value);
}

void KeyValueStore::setObject(const KLValue& value, const std::string& key) {
  const std::lock_guard lock(mutex_);
  values_.set(key, value);
  replaceFile(file_, toJSON(values_));
}

void KeyValueStore::removeObjectForKey(const std::string& key) {
  const std::lock_guard lock(mutex_);
  if (values_.erase(key)) replaceFile(file_, toJSON(values_));
}

}  // namespace nimbra
