#include "run/RunHost.h"

#include <atomic>
#include <cmath>
#include <mutex>

#include "host/HostIdentity.h"
#include "host/HostStore.h"
#include "kaleo/KLNotificationCenter.h"

namespace kaleo::tools {
namespace {

constexpr std::uint32_t kTrackIds = 1u << 31;
constexpr int kOwnEventsAtEnd = 1000;

class Project final : public NBProjectSource {
 public:
  explicit Project(std::string name) : name_(std::move(name)) {}
  std::optional<std::string> project() const override { return name_; }

 private:
  const std::string name_;
};

class Logger final : public NBLog {
 public:
  explicit Logger(std::function<void(int, const std::string&)> sink) : sink_(std::move(sink)) {}
  void log(bool, const std::string& message, int level, const char*, const char*, int, int) override { sink_(level, message); }

 private:
  const std::function<void(int, const std::string&)> sink_;
};

void setIfMissing(KLObject& record, const char* key, const std::optional<KLValue>& value) {
  if (value && !record.contains(key)) record.set(key, *value);
}

}  // namespace

/// Records what the library's hook leaves of an event.
class RunHost::Tracker final : public NBEventTracker {
 public:
  explicit Tracker(std::function<void(const KLValue&)> recorded) : recorded_(std::move(recorded)) {}

  void setTrackEventHook(Hook hook) override {
    auto shared = hook ? std::make_shared<const Hook>(std::move(hook)) : nullptr;
    const std::lock_guard lock(mutex_);
    hook_.swap(shared);  // the old one dies after the lock
  }
  KLValue trackEvent(const KLValue& record) {
    std::shared_ptr<const Hook> hook;
    {
      const std::lock_guard lock(mutex_);
      hook = hook_;
    }
    KLValue left = hook ? (*hook)(record, false) : record;
    recorded_(left);
    return left;
  }

 private:
  const std::function<void(const KLValue&)> recorded_;
  std::mutex mutex_;
  std::shared_ptr<const Hook> hook_;  ///< guarded by mutex_
};

class RunHost::Nimbra final : public HostIdentity {
 public:
  Nimbra(const KLPlatform& platform, const Options& options)
      : HostIdentity(options.distinctId),
        clock_(platform.clock),
        random_(platform.random),
        notificationCenter_(platform.notificationCenter),
        project_(std::make_shared<Project>(options.project)),
        tracker_(std::make_shared<Tracker>(options.recorded)) {}

  std::optional<std::string> libVersion() const override { return "4.5.0"; }
  std::shared_ptr<NBProjectSource> network() const override { return project_; }
  /// The library's own events.
  void track(const std::string& event, const KLValue& properties) override {
    const KLValue recorded = record(KLObject{{"event", event}, {"properties", properties}});
    if (!isEnding_ || ownEventsLeft_.fetch_sub(1) > 0) tell(recorded);
  }
  void trackRecord(const KLValue& given) { tell(record(given)); }
  void end() { isEnding_ = true; }

  const std::shared_ptr<Tracker>& tracker() const { return tracker_; }

 private:
  KLValue record(const KLValue& given) {
    KLObject full = given.asObject();
    setIfMissing(full, "properties", KLObject{});
    setIfMissing(full, "distinct_id", distinctId());
    setIfMissing(full, "login_id", loginId());
    setIfMissing(full, "anonymous_id", anonymousId());
    setIfMissing(full, "time", static_cast<std::int64_t>(std::floor(clock_->now() * 1000)));
    setIfMissing(full, "_track_id", static_cast<std::int64_t>(random_->below(kTrackIds)));
    return tracker_->trackEvent(std::move(full));
  }
  void tell(const KLValue& recorded) { notificationCenter_->post(kNimbraTrackEventNotification, recorded); }

  const std::shared_ptr<KLClock> clock_;
  const std::shared_ptr<KLRandom> random_;
  const std::shared_ptr<KLNotificationCenter> notificationCenter_;
  const std::shared_ptr<Project> project_;
  const std::shared_ptr<Tracker> tracker_;
  std::atomic<bool> isEnding_{false};
  std::atomic<int> ownEventsLeft_{kOwnEventsAtEnd};
};

RunHost::RunHost(const KLPlatform& platform, Options options)
    : values_(options.storeFile),
      notificationCenter_(platform.notificationCenter),
      nimbra_(std::make_shared<Nimbra>(platform, options)) {
  KLHostRegistry& registry = *platform.host;
  if (options.logged) registry.registerNBLog(std::make_shared<Logger>(options.logged));
  registry.registerNBStoreManager(std::make_shared<HostStore>(values_, HostStore::Writing::AtOnce, options.isEncrypted));
  registry.registerNBEventTracker(nimbra_->tracker());
  registry.registerNimbraSDK(nimbra_);
}

RunHost::~RunHost() = default;

void RunHost::track(const KLValue& record) { nimbra_->trackRecord(record); }

void RunHost::changeUser(const KLValue& user, const char* notification) {
  nimbra_->setUser(user);
  notificationCenter_->post(notification);
}

void RunHost::endOfInput() { nimbra_->end(); }

}  // namespace kaleo::tools
