#include "simulate/SimulatedHost.h"

namespace kaleo::tools {
namespace {

std::optional<std::string> textOf(const KLValue& object, std::string_view key) {
  const KLValue* const value = object.find(key);
  return value && value->isString() ? std::optional(value->asString()) : std::nullopt;
}

}  // namespace

class SimulatedHost::Nimbra final : public NimbraSDK {
 public:
  std::optional<std::string> distinctId() const override { return textOf(user_, "distinct_id"); }
  std::optional<std::string> loginId() const override { return textOf(user_, "login_id"); }
  std::optional<std::string> anonymousId() const override { return textOf(user_, "anonymous_id"); }
  void track(const std::string&, const KLValue&) override {}

  void setUser(const KLValue& user) { user_ = user; }

 private:
  KLValue user_ = KLObject{{"distinct_id", kFirstDistinctId}};
};

class SimulatedHost::Store final : public NBStoreManager {
 public:
  explicit Store(KLUserDefaults& values) : values_(values) {}

  std::optional<KLValue> objectForKey(const std::string& key) const override { return values_.objectForKey(key); }
  void setObject(const KLValue& value, const std::string& key) override { values_.setObject(value, key); }
  void removeObjectForKey(const std::string& key) override { values_.removeObjectForKey(key); }

 private:
  KLUserDefaults& values_;
};

SimulatedHost::SimulatedHost(const std::filesystem::path& storeFile) : store_(storeFile), nimbra_(std::make_shared<Nimbra>()) {
  registry_.registerNimbraSDK(nimbra_);
  registry_.registerNBStoreManager(std::make_shared<Store>(store_));
}

std::string SimulatedHost::distinctId() const { return nimbra_->distinctId().value_or(""); }

void SimulatedHost::setIdentity(const KLValue& user) { nimbra_->setUser(user); }

}  // namespace kaleo::tools
