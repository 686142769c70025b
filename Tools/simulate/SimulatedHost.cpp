#include "simulate/SimulatedHost.h"

#include "host/HostStore.h"

namespace kaleo::tools {

class SimulatedHost::Nimbra final : public HostIdentity {
 public:
  using HostIdentity::HostIdentity;
  void track(const std::string&, const KLValue&) override {}
};

SimulatedHost::SimulatedHost(const std::filesystem::path& storeFile)
    : store_(storeFile), nimbra_(std::make_shared<Nimbra>(kFirstDistinctId)) {
  registry_.registerNimbraSDK(nimbra_);
  registry_.registerNBStoreManager(std::make_shared<HostStore>(store_, HostStore::Writing::AtEnd, false));
}

std::string SimulatedHost::distinctId() const { return nimbra_->distinctId().value_or(""); }

void SimulatedHost::setIdentity(const KLValue& user) { nimbra_->setUser(user); }

}  // namespace kaleo::tools
