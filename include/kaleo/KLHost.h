#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What answers the host's project: the host's server URL (newer hosts) or its network object (older ones).
class KALEO_API NBProjectSource {
 public:
  virtual ~NBProjectSource() = default;
  /// Whether the object knows of projects at all.
  virtual bool respondsToProject() const { return true; }
  /// The project's name; none when it has no value.
  virtual std::optional<std::string> project() const = 0;
};

/// The host analytics library's main object. Each member that is not overridden counts as not implemented by the host, and one that
/// throws as without a value. A member may call the library: nothing of it is locked meanwhile.
/// Threads: any of the library's and the main thread, several at once; `libVersion` also the thread that calls
/// `isSupportedNBVersion`. A getter that blocks delays popups and fetches; a `track` that blocks holds up the main thread, too.
class KALEO_API NimbraSDK {
 public:
  virtual ~NimbraSDK() = default;

  virtual std::optional<std::string> distinctId() const { return std::nullopt; }
  virtual std::optional<std::string> loginId() const { return std::nullopt; }
  virtual std::optional<std::string> anonymousId() const { return std::nullopt; }
  virtual std::optional<KLValue> identities() const { return std::nullopt; }
  /// The host's own version, dotted.
  virtual std::optional<std::string> libVersion() const { return std::nullopt; }

  /// The object at the host's key path "configOptions.serverURL"; read when the host has a schema (`registerNBSchema`).
  virtual std::shared_ptr<NBProjectSource> serverURL() const { return nullptr; }
  /// The object under the host's name "network"; read when the host has no schema.
  virtual std::shared_ptr<NBProjectSource> network() const { return nullptr; }

  /// Whether the host has `track:withProperties:`.
  virtual bool respondsToTrack() const { return true; }
  /// Tracks an event. `properties` is an object.
  virtual void track(const std::string& event, const KLValue& properties) = 0;
};

/// The host's logger. A line that it throws at is lost, and nothing else. It may call the library.
/// Threads: any, those of the application inside its calls of the library included: one that blocks holds up its caller.
class KALEO_API NBLog {
 public:
  virtual ~NBLog() = default;
  /// `level` is 1 for errors and refusals, 4 for progress and decisions, 8 for details. `context` is always 0.
  virtual void log(bool asynchronous, const std::string& message, int level, const char* file, const char* function, int line,
                   int context) = 0;
};

/// The host's key-value store. A read that throws has no value, a write that throws is lost.
/// Threads: any of the library's, never the application's: one that blocks delays popups and nothing else.
class KALEO_API NBStoreManager {
 public:
  virtual ~NBStoreManager() = default;
  virtual std::optional<KLValue> objectForKey(const std::string& key) const = 0;
  virtual void setObject(const KLValue& value, const std::string& key) = 0;
  virtual void removeObjectForKey(const std::string& key) = 0;
  /// Whether the host keeps its own state encrypted; the library then encrypts its own, too. Asked once, at start.
  virtual bool isRegisteredCustomStorePlugin() const { return false; }
};

/// The host's key chain. Nothing of the library asks for it now; a member that throws counts as without an item.
class KALEO_API NBKeyChainItemWrapper {
 public:
  virtual ~NBKeyChainItemWrapper() = default;
  virtual void saveOrUpdatePassword(const std::string& password, const std::string& account, const std::string& service) = 0;
  /// The item's value data; none when there is no such item.
  virtual std::optional<std::string> fetchPassword(const std::string& account, const std::string& service) const = 0;
};

/// The host's event tracker. It calls the hook with every event just before it records it, and records what the hook answers.
/// The hook blocks on nothing and may be called on any thread, also after it has been taken away.
class KALEO_API NBEventTracker {
 public:
  using Hook = std::function<KLValue(const KLValue& record, bool isSignUp)>;
  virtual ~NBEventTracker() = default;
  /// Installs the hook; an empty one takes it away. Called on a thread of the library's, and on the one that registers the tracker.
  /// A tracker that throws here goes without the hook.
  virtual void setTrackEventHook(Hook hook) = 0;
};

/// The host's objects under their names. Any of them may be missing, come late, or be replaced: the library looks each up at each
/// use. Passing null takes an object away.
///
/// A host that comes after the start posts one of its identity notifications, for the library to fetch its user's plans: a start
/// that finds no user fetches nothing. The store's `isRegisteredCustomStorePlugin` is asked during the start alone.
///
/// Threads: any. No member blocks or throws; an object that is replaced may still be in use for a moment on another thread.
/// Lifetime: the registry shares ownership of what is registered, until it is replaced or the registry goes.
class KALEO_API KLHostRegistry {
 public:
  KLHostRegistry();
  ~KLHostRegistry();
  KLHostRegistry(const KLHostRegistry&) = delete;
  KLHostRegistry& operator=(const KLHostRegistry&) = delete;

  void registerNimbraSDK(std::shared_ptr<NimbraSDK> object);
  void registerNBLog(std::shared_ptr<NBLog> object);
  void registerNBStoreManager(std::shared_ptr<NBStoreManager> object);
  void registerNBKeyChainItemWrapper(std::shared_ptr<NBKeyChainItemWrapper> object);
  void registerNBEventTracker(std::shared_ptr<NBEventTracker> object);
  /// Says that the host is of the newer kind, whose project hangs off its server URL.
  void registerNBSchema(bool present);

  std::shared_ptr<NimbraSDK> nimbraSDK() const;
  std::shared_ptr<NBLog> nbLog() const;
  /// Whether there is one: cheap enough to ask before every line.
  bool hasNBLog() const noexcept;
  std::shared_ptr<NBStoreManager> nbStoreManager() const;
  std::shared_ptr<NBKeyChainItemWrapper> nbKeyChainItemWrapper() const;
  bool hasNBSchema() const;

  /// The hook given to the tracker that is registered now and to every one registered later.
  void setTrackEventHook(NBEventTracker::Hook hook);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo
