#pragma once

#include <kaleo/KLClock.h>
#include <kaleo/KLHost.h>
#include <kaleo/KLNotificationCenter.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "Nimbra/EventTracker.h"
#include "Nimbra/Identity.h"
#include "Nimbra/KeyValueStore.h"
#include "Nimbra/Logger.h"

namespace nimbra {

struct Options {
  /// Everything that survives a restart: identity.json, store.json, events.jsonl and, when asked for, nimbra.log.
  std::filesystem::path directory;
  /// Where tracked events and changes of identity are posted.
  std::shared_ptr<kaleo::KLNotificationCenter> notificationCenter;
  std::shared_ptr<kaleo::KLClock> clock;
  std::shared_ptr<kaleo::KLRandom> random;
  /// URL of the analytics server; its query item "project" names the project.
  std::string serverUrl = "https://analytics.example/receive?project=default";
  bool encryptStore = false;
  bool logToFile = false;
  Logger::Sink logSink;
};

/// A small analytics library: knows who uses the application and keeps what they do. It is the host of the popups, and a model of
/// what a host has to bring.
/// Threads: any. Nothing is called out to with a lock held.
class Nimbra final : public kaleo::NimbraSDK {
 public:
  explicit Nimbra(Options options);

  /// Registers the analytics object and its logger, store and tracker under their names. The registry keeps them.
  static std::shared_ptr<Nimbra> start(kaleo::KLHostRegistry& registry, Options options);

  std::optional<std::string> distinctId() const override;
  std::optional<std::string> loginId() const override;
  std::optional<std::string> anonymousId() const override;
  std::optional<kaleo::KLValue> identities() const override;
  std::optional<std::string> libVersion() const override { return "4.5.0"; }
  std::shared_ptr<kaleo::NBProjectSource> serverURL() const override;

  /// Records the event, then posts "NimbraTrackEventNotification" with its record.
  void track(const std::string& event, const kaleo::KLValue& properties) override;

  /// Each changes the identity, keeps it, then posts its notification.
  void login(const std::string& loginId);
  void logout();
  /// Names the anonymous user.
  void identify(const std::string& anonymousId);
  void resetAnonymousId();

  void setServerUrl(const std::string& url);

  EventTracker& tracker() { return *tracker_; }
  KeyValueStore& store() { return *store_; }

 private:
  Identity identity() const;
  /// Applies `change` to the identity, keeps it, and posts `notification`.
  template <class Change>
  void changeIdentity(const char* notification, Change change);
  kaleo::KLValue record(const std::string& event, const kaleo::KLValue& properties) const;

  const Options options_;
  const std::shared_ptr<KeyValueStore> store_;
  const std::shared_ptr<Logger> logger_;
  const std::shared_ptr<EventTracker> tracker_;
  mutable std::mutex mutex_;
  Identity identity_;      ///< guarded by mutex_
  std::string serverUrl_;  ///< guarded by mutex_
};

}  // namespace nimbra
