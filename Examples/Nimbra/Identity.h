#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace nimbra {

/// Who uses the application. The distinct id is the login id while somebody is logged in, else the anonymous id.
struct Identity {
  std::string anonymousId;
  std::optional<std::string> loginId;

  const std::string& distinctId() const { return loginId ? *loginId : anonymousId; }
  friend bool operator==(const Identity&, const Identity&) = default;
};

/// The identity that `file` holds; one with an empty anonymous id when it holds none.
Identity loadIdentity(const std::filesystem::path& file);
bool saveIdentity(const Identity& identity, const std::filesystem::path& file);

}  // namespace nimbra
