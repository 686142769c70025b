#include "Nimbra/Nimbra.h"

#include <cmath>

namespace nimbra {
namespace {

using kaleo::KLObject;
using kaleo::KLValue;

constexpr const char* kIdentityFile = "identity.json";
constexpr const char* kStoreFile = "store.json";
constexpr const char* kEventsFile = "events.jsonl";
constexpr const char* kLogFile = "nimbra.log";

/// The project that a server URL names.
class ServerURL final : public kaleo::NBProjectSource {
 public:
  explicit ServerURL(std::string url) : url_(std::move(url)) {}

  std::optional<std::string> project() const override {
    constexpr std::string_view kItem = "project=";
    const auto query = url_.find('?');
    if (query == std::string::npos) return std::nullopt;
    for (auto start = query + 1; start < url_.size();) {
      const auto end = std::min(url_.find('&', start), url_.size());
      if (url_.compare(start, kItem.size(), kItem) == 0) return url_.substr(start + kItem.size(), end - start - kItem.size());
      start = end + 1;
    }
    return std::nullopt;
  }

 private:
  const std::string url_;
};

}  // namespace

Nimbra::Nimbra(Options options)
    : options_(std::move(options)),
      store_(std::make_shared<KeyValueStore>(options_.directory / kStoreFile, options_.encryptStore)),
      logger_(std::make_shared<Logger>(options_.clock, options_.logSink,
                                       options_.logToFile ? options_.directory / kLogFile : std::filesystem::path())),
      tracker_(std::make_shared<EventTracker>(options_.directory / kEventsFile)),
      identity_(loadIdentity(options_.directory / kIdentityFile)),
      serverUrl_(options_.serverUrl) {
  if (!identity_.anonymousId.empty()) return;
  identity_.anonymousId = options_.random->uuid();
  saveIdentity(identity_, options_.directory / kIdentityFile);
}

std::shared_ptr<Nimbra> Nimbra::start(kaleo::KLHostRegistry& registry, Options options) {
  auto nimbra = std::make_shared<Nimbra>(std::move(options));
  registry.registerNBSchema(true);
  registry.registerNBLog(nimbra->logger_);
  registry.registerNBStoreManager(nimbra->store_);
  registry.registerNBEventTracker(nimbra->tracker_);
  registry.registerNimbraSDK(nimbra);
  return nimbra;
}

Identity Nimbra::identity() const {
  const std::lock_guard lock(mutex_);
  return identity_;
}

std::optional<std::string> Nimbra::distinctId() const { return identity().distinctId(); }
std::optional<std::string> Nimbra::loginId() const { return identity().loginId; }
std::optional<std::string> Nimbra::anonymousId() const { return identity().anonymousId; }

std::optional<KLValue> Nimbra::identities() const {
  const Identity current = identity();
  KLObject all{{"$identity_anonymous_id", current.anonymousId}};
  if (current.loginId) all.set("$identity_login_id", *current.loginId);
  return all;
}

std::shared_ptr<kaleo::NBProjectSource> Nimbra::serverURL() const {
  const std::lock_guard lock(mutex_);
  return std::make_shared<ServerURL>(serverUrl_);
}

KLValue Nimbra::record(const std::string& event, const KLValue& properties) const {
  constexpr std::uint32_t kTrackIds = 1u << 31;
  const Identity current = identity();
  return KLObject{{"event", event},
                  {"properties", properties},
                  {"distinct_id", current.distinctId()},
                  {"login_id", current.loginId ? KLValue(*current.loginId) : KLValue("")},
                  {"anonymous_id", current.anonymousId},
                  {"time", std::int64_t(std::floor(options_.clock->now() * 1000))},
                  {"_track_id", std::int64_t{options_.random->below(kTrackIds)}}};
}

void Nimbra::track(const std::string& event, const KLValue& properties) {
  const KLValue recorded = tracker_->trackEvent(record(event, properties), false);
  options_.notificationCenter->post(kaleo::kNimbraTrackEventNotification, recorded);
}

template <class Change>
void Nimbra::changeIdentity(const char* notification, Change change) {
  {
    const std::lock_guard lock(mutex_);
    change(identity_);
    saveIdentity(identity_, options_.directory / kIdentityFile);
  }
  options_.notificationCenter->post(notification);
}

void Nimbra::login(const std::string& loginId) {
  changeIdentity(kaleo::kNimbraTrackLoginNotification, [&](Identity& identity) { identity.loginId = loginId; });
}

void Nimbra::logout() {
  changeIdentity(kaleo::kNimbraTrackLogoutNotification, [](Identity& identity) { identity.loginId.reset(); });
}

void Nimbra::identify(const std::string& anonymousId) {
  changeIdentity(kaleo::kNimbraTrackIdentifyNotification, [&](Identity& identity) { identity.anonymousId = anonymousId; });
}

void Nimbra::resetAnonymousId() {
  changeIdentity(kaleo::kNimbraTrackResetAnonymousIdNotification,
                 [id = options_.random->uuid()](Identity& identity) { identity.anonymousId = id; });
}

void Nimbra::setServerUrl(const std::string& url) {
  {
    const std::lock_guard lock(mutex_);
    serverUrl_ = url;
  }
  options_.notificationCenter->post(kaleo::kNimbraSetServerUrlNotification);
}

}  // namespace nimbra
