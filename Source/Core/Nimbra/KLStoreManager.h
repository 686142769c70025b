#pragma once

#include <optional>
#include <string>

#include "kaleo/KLHost.h"

namespace kaleo {

/// The host's key-value store, looked up at each call. Without one, reads answer nothing, zero or false and writes do nothing.
/// Threads: any.
class KLStoreManager {
 public:
  explicit KLStoreManager(const KLHostRegistry& host) : host_(host) {}

  std::optional<KLValue> objectForKey(const std::string& key) const;
  std::optional<std::string> stringForKey(const std::string& key) const;
  std::optional<KLValue::Array> arrayForKey(const std::string& key) const;
  std::optional<KLValue> dictionaryForKey(const std::string& key) const;
  std::optional<KLBytes> dataForKey(const std::string& key) const;
  std::int64_t integerForKey(const std::string& key) const;
  float floatForKey(const std::string& key) const;
  double doubleForKey(const std::string& key) const;
  bool boolForKey(const std::string& key) const;
  void setObject(const KLValue& value, const std::string& key) const;
  void setInteger(std::int64_t value, const std::string& key) const { setObject(KLValue(value), key); }
  void setFloat(float value, const std::string& key) const { setObject(KLValue(static_cast<double>(value)), key); }
  void setDouble(double value, const std::string& key) const { setObject(KLValue(value), key); }
  void setBool(bool value, const std::string& key) const { setObject(KLValue(value), key); }
  void removeObjectForKey(const std::string& key) const;
  bool isRegisteredCustomStorePlugin() const;

 private:
  const KLHostRegistry& host_;
};

}  // namespace kaleo
