#pragma once

#include "Foundation/KLUserDefaults.h"
#include "kaleo/KLHost.h"

namespace kaleo::tools {

/// A host's key-value store in a file. Threads: any. Lifetime: borrows the values.
class HostStore final : public NBStoreManager {
 public:
  enum class Writing {
    AtEnd,   ///< whoever owns the values writes them
    AtOnce,  ///< each change is on disk when the call returns
  };

  /// `isPluginRegistered`: whether the host keeps its state encrypted, so that the library does, too.
  HostStore(KLUserDefaults& values, Writing writing, bool isPluginRegistered)
      : values_(values), writing_(writing), isPluginRegistered_(isPluginRegistered) {}

  std::optional<KLValue> objectForKey(const std::string& key) const override { return values_.objectForKey(key); }
  void setObject(const KLValue& value, const std::string& key) override {
    values_.setObject(value, key);
    changed();
  }
  void removeObjectForKey(const std::string& key) override {
    values_.removeObjectForKey(key);
    changed();
  }
  bool isRegisteredCustomStorePlugin() const override { return isPluginRegistered_; }

 private:
  void changed() {
    if (writing_ == Writing::AtOnce) values_.synchronize();
  }

  KLUserDefaults& values_;
  const Writing writing_;
  const bool isPluginRegistered_;
};

}  // namespace kaleo::tools
