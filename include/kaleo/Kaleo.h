#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "kaleo/KLConfigOptions.h"
#include "kaleo/KLDelegates.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLPlatform.h"

namespace kaleo {

class KLLibrary;

/// The entry: one library for the process. No call blocks its caller on the network, the disk or a popup (but `shutdown`), none
/// throws, and none holds a lock while it calls the application or the host.
/// Threads: every member may be called from any thread, and from inside every callback of the library.
class KALEO_API Kaleo {
 public:
  Kaleo() = delete;

  /// The registry that `standard` platforms use: where a host analytics library registers itself.
  static KLHostRegistry& host();
  /// The notification centre that `standard` platforms use: where a host posts.
  static KLNotificationCenter& notificationCenter();

  /// Chooses what the library stands on. Takes effect only before the start; a later call is ignored and logged.
  /// Without it, `KLPlatform::standard("kaleo")` is taken.
  static void setPlatform(KLPlatform platform);

  /// Starts the library, once for the process: options that are missing or have no base URL are refused with a log line, and a
  /// call after a successful one does nothing. Returns at once; the start itself runs on the library's own threads, and events
  /// tracked from now on wait for it.
  static void startWithConfigOptions(std::shared_ptr<KLConfigOptions> options);
  /// Shows a test popup when `url` is a deep link for one: host "popupwindow", and in its query "kl_popup_test" (true) and
  /// "popup_window_id". Answers whether it was; what the server says to it shows later, or not at all. False before the start.
  static bool handleOpenURL(const std::string& url);
  /// Fetches the configuration now. `completion` runs once, on a thread of the library, possibly before the plans are in force;
  /// while the start is not over it runs inside this call, with error 1007. It does not run when the host knows no user or the base
  /// URL is none, as nothing is asked for then, nor when the library ends first. A failure by the server's status alone has no
  /// error.
  static void fetchCampaignsWithCompletion(std::function<void(const KLCampaignResponse&)> completion);
  /// The library's version, dotted.
  static std::string SDKVersion();
  /// Whether the host library's version is supported (a missing one is). Asks the host inside this call.
  static bool isSupportedNBVersion();

  /// Ends the library in order: waiting work is let go, what is queued for the store is written, threads end. For the last moments
  /// of a process; may take as long as the disk takes, and waits for the calls that other threads are in. A popup on screen is
  /// taken down on the main thread, which must not be waiting for this call, unless it makes it. Must not run on the library's own
  /// threads, as inside the host's logger or store. The library cannot be started again.
  static void shutdown();
};

/// A whole library of one's own, beside others in the same process: what `Kaleo` keeps one of.
/// Threads: as `Kaleo`. The destructor must not run on the library's own threads; it ends the library in order, as
/// `Kaleo::shutdown` does.
class KALEO_API KaleoInstance {
 public:
  /// Listens to the platform's notification centre from now on; asks the network for nothing before the start. Throws
  /// std::system_error when the process can have no more threads.
  explicit KaleoInstance(KLPlatform platform);
  ~KaleoInstance();
  KaleoInstance(const KaleoInstance&) = delete;
  KaleoInstance& operator=(const KaleoInstance&) = delete;

  /// Answers whether the library has started by this call. The rest of the start runs on the library's own threads.
  bool startWithConfigOptions(std::shared_ptr<KLConfigOptions> options);
  /// These as in `Kaleo`.
  bool handleOpenURL(const std::string& url);
  void fetchCampaignsWithCompletion(std::function<void(const KLCampaignResponse&)> completion);
  bool isSupportedNBVersion() const;

 private:
  std::unique_ptr<KLLibrary> library_;
  std::atomic<bool> started_{false};
};

}  // namespace kaleo
