#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "kaleo/KLClock.h"
#include "kaleo/KLDiagnosis.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLHost.h"
#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLPresentation.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Per-user directories, absolute. They are made when first written to.
struct KLDirectories {
  std::filesystem::path documents;  ///< the database
  std::filesystem::path library;    ///< key files, user defaults
  std::filesystem::path caches;     ///< pictures; may be emptied by anyone
  std::filesystem::path resources;  ///< holds "Kaleo.bundle"; read only
};

enum class KLReachability { NotReachable = 1, Cellular = 2, Other = 3 };

/// Tells whether the network can be reached at all. Port.
class KALEO_API KLReachabilitySource {
 public:
  using Changed = std::function<void(KLReachability)>;
  virtual ~KLReachabilitySource() = default;
  /// Calls `changed` with the present state inside this call, then at each change, from a thread of the source's own.
  virtual void start(Changed changed) = 0;
  /// When this returns, `changed` is not running on another thread and will not run again.
  virtual void stop() = 0;
};

/// What describes the application and the machine in the "User-Agent" of picture downloads.
struct KLApplicationInfo {
  std::string name = "Application";
  std::string version = "1.0";
  std::string deviceModel = "PC";
  std::string systemVersion = "12";
};

/// Prints one line, given without its line feed. Threads: any of the library's; must not throw.
using KLConsole = std::function<void(const std::string& line)>;

/// Everything that the library takes from outside: one object that holds the ports. A host sets what it wants to replace and
/// leaves the rest as `standard` made it.
struct KALEO_API KLPlatform {
  std::shared_ptr<KLHostRegistry> host;
  std::shared_ptr<KLNotificationCenter> notificationCenter;
  std::shared_ptr<KLClock> clock;
  std::shared_ptr<KLRandom> random;
  std::shared_ptr<KLThreading> threading;
  /// Where views, delegates and windows live. A back end on a toolkit replaces it with the toolkit's event loop.
  std::shared_ptr<KLQueue> mainQueue;
  std::shared_ptr<KLReachabilitySource> reachability;
  /// The session for server requests and picture downloads; when null the library makes one of its own from `http`.
  std::shared_ptr<KLHTTPSession> session;
  KLHTTPSettings http;
  KLPresentation presentation;
  KLDirectories directories;
  KLApplicationInfo application;
  /// The plain console, for the line that is not the host logger's: how long a plan's display times took to check. Empty: the line
  /// is left out. `standard` prints to standard error.
  KLConsole console;
  /// The recorder of decisions; null: the one that `makeDiagnosis` makes.
  std::shared_ptr<KLDiagnosis> diagnosis;
  /// Makes the recorder from what the library is made of; empty: nothing is recorded. `installCampaignDiagnosis`
  /// (libkaleo-diagnosis) fills it.
  KLMakeDiagnosis makeDiagnosis;
  /// IANA name; empty: the machine's.
  std::string timeZone;

  /// The real clock, threads, randomness and network of this machine, directories of the user (XDG base directories) under
  /// `applicationName`, the process-wide host registry and notification centre, and a presentation without a screen.
  static KLPlatform standard(const std::string& applicationName);
};

}  // namespace kaleo
