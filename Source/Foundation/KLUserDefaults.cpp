#include "Foundation/KLUserDefaults.h"

#include "Foundation/KLFile.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {
namespace {

constexpr const char* kClassName = "KLUserDefaults";

}  // namespace

KLUserDefaults::KLUserDefaults(std::filesystem::path file) : file_(std::move(file)) {}

std::optional<KLValue> KLUserDefaults::objectForKey(const std::string& key) const {
  std::lock_guard lock(mutex_);
  loadLocked();
  const KLValue* value = values_.find(key);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<KLBytes> KLUserDefaults::dataForKey(const std::string& key) const {
  const auto value = objectForKey(key);
  return value && value->isBytes() ? std::optional(value->asBytes()) : std::nullopt;
}

void KLUserDefaults::setObject(const KLValue& value, const std::string& key) {
  std::lock_guard lock(mutex_);
  loadLocked();
  values_.set(key, value);
  changed_ = true;
}

void KLUserDefaults::removeObjectForKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  loadLocked();
  changed_ |= values_.erase(key);
}

bool KLUserDefaults::synchronize() {
  std::lock_guard lock(mutex_);
  if (!changed_) return true;
  if (!KLFile::writeAtomically(file_, KLKeyedArchive::archive(kClassName, KLValue(values_)), KLFile::Access::OwnerOnly))
    return false;
  changed_ = false;
  return true;
}

void KLUserDefaults::loadLocked() const {
  if (loaded_) return;
  loaded_ = true;
  const auto bytes = KLFile::read(file_);
  const auto root = bytes ? KLKeyedArchive::unarchive(*bytes, kClassName) : std::nullopt;
  if (root) values_ = root->asObject();
}

}  // namespace kaleo
