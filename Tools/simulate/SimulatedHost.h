#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Foundation/KLUserDefaults.h"
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
  /// `user`: an object with "distinct_id", "login_id" and "anonymous_id"; what is no text counts as missing.
  void setIdentity(const KLValue& user);

  KLUserDefaults& store() { return store_; }

 private:
  class Nimbra;
  class Store;

  KLUserDefaults store_;
  KLHostRegistry registry_;
  std::shared_ptr<Nimbra> nimbra_;
};

}  // namespace kaleo::tools
