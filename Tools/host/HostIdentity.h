#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "kaleo/KLHost.h"

namespace kaleo::tools {

/// A host analytics object whose user is what a line of input said. Threads: any.
class HostIdentity : public NimbraSDK {
 public:
  explicit HostIdentity(const std::string& distinctId) : user_(KLObject{{"distinct_id", distinctId}}) {}

  /// `user`: an object with "distinct_id", "login_id" and "anonymous_id"; what is no text counts as missing.
  void setUser(const KLValue& user);

  std::optional<std::string> distinctId() const override { return idOf("distinct_id"); }
  std::optional<std::string> loginId() const override { return idOf("login_id"); }
  std::optional<std::string> anonymousId() const override { return idOf("anonymous_id"); }

 private:
  std::optional<std::string> idOf(const char* key) const;

  mutable std::mutex mutex_;
  KLValue user_;  ///< guarded by mutex_
};

}  // namespace kaleo::tools
