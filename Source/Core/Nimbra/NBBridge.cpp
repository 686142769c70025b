#include "Core/Nimbra/NBBridge.h"

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

constexpr const char* kDefaultProject = "default";

/// What `call` answers; nothing when the host throws.
template <class Call>
auto guarded(Call&& call) -> decltype(call()) {
  try {
    return call();
  } catch (...) {
    return {};
  }
}

std::optional<KLValue> asValue(std::optional<std::string> text) {
  if (!text) return std::nullopt;
  return KLValue(*std::move(text));
}

}  // namespace

std::shared_ptr<NimbraSDK> NBBridge::nimbraInstance() const {
  auto instance = host_.nimbraSDK();
  if (!instance) log_.error("Get NB class failed");
  return instance;
}

std::optional<KLValue> NBBridge::propertyWithName(std::string_view name) const {
  const auto instance = nimbraInstance();
  if (!instance) {
    log_.error("Get NB sharedIntance failed");
    return std::nullopt;
  }
  return guarded([&]() -> std::optional<KLValue> {
    if (name == "distinctId") return asValue(instance->distinctId());
    if (name == "loginId") return asValue(instance->loginId());
    if (name == "anonymousId") return asValue(instance->anonymousId());
    if (name == "libVersion") return asValue(instance->libVersion());
    if (name == "identities") return instance->identities();
    return std::nullopt;
  });
}

std::optional<std::string> NBBridge::textProperty(std::string_view name) const {
  const auto value = propertyWithName(name);
  return quillon_stringValue(value ? &*value : nullptr);
}

std::optional<std::string> NBBridge::distinctId() const { return textProperty("distinctId"); }
std::optional<std::string> NBBridge::loginId() const { return textProperty("loginId"); }
std::optional<std::string> NBBridge::anonymousId() const { return textProperty("anonymousId"); }
std::optional<KLValue> NBBridge::identities() const { return propertyWithName("identities"); }
std::optional<std::string> NBBridge::SDKVersion() const { return textProperty("libVersion"); }

std::string NBBridge::project() const {
  const auto instance = nimbraInstance();
  const auto source = guarded([&]() -> std::shared_ptr<NBProjectSource> {
    if (!instance) return nullptr;
    return host_.hasNBSchema() ? instance->serverURL() : instance->network();
  });
  if (!source) {
    log_.info("Get NB project value failed, reason: get NB network property failed, will use default value \"default\" instead");
    return kDefaultProject;
  }
  if (!guarded([&] { return source->respondsToProject(); })) {
    log_.info("NB network property does not have project selector, will use default value \"default\" for project instead");
    return kDefaultProject;
  }
  auto project = guarded([&] { return source->project(); });
  if (!project) {
    log_.info("NB project's value is nil, will use default value \"default\" instead");
    project = kDefaultProject;
  }
  log_.info("Get NB project's value success, value is: {}", *project);
  return *std::move(project);
}

void NBBridge::track(const std::string& event, const KLValue& properties) const {
  const auto instance = nimbraInstance();
  if (!instance) {
    log_.error("Get NB sharedIntance failed");
    return;
  }
  guarded([&] {
    if (instance->respondsToTrack()) instance->track(event, properties);
    return true;
  });
}

void NBBridge::saveKeychainItem(const std::string& item, const std::string& account, const std::string& service) const {
  guarded([&] {
    if (const auto keychain = host_.nbKeyChainItemWrapper()) keychain->saveOrUpdatePassword(item, account, service);
    return true;
  });
}

std::optional<std::string> NBBridge::fetchKeychainItem(const std::string& account, const std::string& service) const {
  return guarded([&]() -> std::optional<std::string> {
    const auto keychain = host_.nbKeyChainItemWrapper();
    return keychain ? keychain->fetchPassword(account, service) : std::nullopt;
  });
}

}  // namespace kaleo
