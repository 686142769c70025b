#include "host/HostIdentity.h"

namespace kaleo::tools {

void HostIdentity::setUser(const KLValue& user) {
  const std::lock_guard lock(mutex_);
  user_ = user;
}

std::optional<std::string> HostIdentity::idOf(const char* key) const {
  const std::lock_guard lock(mutex_);
  const KLValue* const id = user_.find(key);
  return id && id->isString() ? std::optional(id->asString()) : std::nullopt;
}

}  // namespace kaleo::tools
