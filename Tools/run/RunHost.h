#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Foundation/KLUserDefaults.h"
#include "kaleo/KLPlatform.h"

namespace kaleo::tools {

/// A small host analytics library: a user that the input sets, a recorder of events behind the library's hook, a key-value store in
/// a file, and a log. Threads: any; the sinks run on the threads that track and log.
class RunHost {
 public:
  struct Options {
    std::filesystem::path storeFile;
    std::string distinctId;
    std::string project;
    bool isEncrypted = false;  ///< whether the library is to encrypt what it keeps
    /// What the recorder gets, after the hook.
    std::function<void(const KLValue& record)> recorded;
    /// Each log line; empty: no logger is registered.
    std::function<void(int level, const std::string& message)> logged;
  };

  /// Registers everything with the platform's registry, and stamps and posts with the platform's clock, randomness and notification
  /// centre.
  RunHost(const KLPlatform& platform, Options options);
  ~RunHost();
  RunHost(const RunHost&) = delete;
  RunHost& operator=(const RunHost&) = delete;

  /// Tracks an event: gives the record what it lacks of identity, time and track id, records it, and tells the library.
  void track(const KLValue& record);
  /// `user` as in HostIdentity.
  void changeUser(const KLValue& user, const char* notification);
  /// From now on the library hears of no more than a thousand events of its own: a plan that fires at them could go on for ever.
  void endOfInput();
  /// False: the key-value store cannot be written.
  bool close() { return values_.synchronize(); }

 private:
  class Nimbra;
  class Tracker;

  KLUserDefaults values_;
  std::shared_ptr<KLNotificationCenter> notificationCenter_;
  std::shared_ptr<Nimbra> nimbra_;
};

}  // namespace kaleo::tools
