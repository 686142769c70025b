#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Foundation/KLUserDefaults.h"
#include "host/HostIdentity.h"
#include "kaleo/KLHost.h"

namespace kaleo::tools {

/// The host analytics library of a simulation: an identity that the stream sets, and a key-value store. It keeps no log, tracks
/// nothing and does not ask for encryption. Threads: one.
class SimulatedHost {
 public:
  static constexpr const char* kFirstDistinctId = "simulated-user";

  /// `storeFile`: where the key-value store is kept; it need not be there yet.
  explicit SimulatedHost(const std::filesystem::path& storeFile);

  KLHostRegistry& registry() { return registry_; }
  std::string distinctId() const;
  /// `user` as in HostIdentity.
  void setIdentity(const KLValue& user);

  KLUserDefaults& store() { return store_; }

 private:
  class Nimbra;

  KLUserDefaults store_;
  KLHostRegistry registry_;
  std::shared_ptr<Nimbra> nimbra_;
};

}  // namespace kaleo::tools
