#pragma once

#include <kaleo/KLHost.h>

#include <filesystem>
#include <mutex>

namespace nimbra {

/// Named values in a JSON file; each change is on disk when the call returns.
/// Threads: any.
class KeyValueStore final : public kaleo::NBStoreManager {
 public:
  /// `encrypted`: what `isRegisteredCustomStorePlugin` answers; a library beside this one then encrypts what it keeps.
  KeyValueStore(std::filesystem::path file, bool encrypted);

  std::optional<kaleo::KLValue> objectForKey(const std::string& key) const override;
  void setObject(const kaleo::KLValue& value, const std::string& key) override;
  void removeObjectForKey(const std::string& key) override;
  bool isRegisteredCustomStorePlugin() const override { return encrypted_; }

 private:
  const std::filesystem::path file_;
  const bool encrypted_;
  mutable std::mutex mutex_;
  kaleo::KLObject values_;  ///< guarded by mutex_
};

}  // namespace nimbra
