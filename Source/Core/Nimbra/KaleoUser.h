#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "kaleo/KLValue.h"

namespace kaleo {

/// Who a configuration was fetched for.
struct KaleoUser {
  std::optional<std::string> distinctId;
  std::optional<std::string> loginId;
  std::optional<std::string> anonymousId;

  /// Archive: the three under their names; an absent one leaves its key out.
  KLValue encode() const;
  static KaleoUser decode(const KLValue& archive);
  friend bool operator==(const KaleoUser&, const KaleoUser&) = default;
};

/// The server's id of the present user, which keys every stored record. Shared by the manager, which sets it, with all who store.
/// Threads: any.
class KLCurrentUser {
 public:
  std::string userId() const {
    std::lock_guard lock(mutex_);
    return userId_;
  }
  void setUserId(std::string userId) {
    std::lock_guard lock(mutex_);
    userId_ = std::move(userId);
  }

 private:
  mutable std::mutex mutex_;
  std::string userId_;  ///< guarded by mutex_
};

}  // namespace kaleo
