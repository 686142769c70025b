#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Core/Base/Log/KLLog.h"
#include "kaleo/KLHost.h"

namespace kaleo {

/// The way to the host analytics library. Keeps nothing: every call looks the host up anew, and a missing host, a missing member
/// and a member that throws answer nothing (and a log line), never an error.
/// Threads: any.
class NBBridge {
 public:
  NBBridge(const KLHostRegistry& host, const KLLog& log) : host_(host), log_(log) {}

  std::shared_ptr<NimbraSDK> nimbraInstance() const;
  /// The getter `name` of the host: "distinctId", "loginId", "anonymousId", "identities" or "libVersion".
  std::optional<KLValue> propertyWithName(std::string_view name) const;
  std::optional<std::string> distinctId() const;
  std::optional<std::string> loginId() const;
  std::optional<std::string> anonymousId() const;
  std::optional<KLValue> identities() const;
  std::optional<std::string> SDKVersion() const;
  /// The host's project; "default" whatever is missing.
  std::string project() const;
  void track(const std::string& event, const KLValue& properties) const;
  void saveKeychainItem(const std::string& item, const std::string& account, const std::string& service) const;
  std::optional<std::string> fetchKeychainItem(const std::string& account, const std::string& service) const;

 private:
  std::optional<std::string> textProperty(std::string_view name) const;

  const KLHostRegistry& host_;
  const KLLog& log_;
};

}  // namespace kaleo
