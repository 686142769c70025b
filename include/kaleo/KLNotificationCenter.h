#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Posted by the host analytics library; all but the first two carry nothing.
inline constexpr const char* kNimbraTrackEventNotification = "NimbraTrackEventNotification";  ///< user info: the event record
inline constexpr const char* kNimbraTrackEventFromH5Notification = "NimbraTrackEventFromH5Notification";  ///< the same
inline constexpr const char* kNimbraTrackLoginNotification = "NimbraTrackLoginNotification";
inline constexpr const char* kNimbraTrackLogoutNotification = "NimbraTrackLogoutNotification";
inline constexpr const char* kNimbraTrackIdentifyNotification = "NimbraTrackIdentifyNotification";
inline constexpr const char* kNimbraTrackResetAnonymousIdNotification = "NimbraTrackResetAnonymousIdNotification";
inline constexpr const char* kNimbraSetServerUrlNotification = "NimbraSetServerUrlNotification";

/// Posted by the library.
inline constexpr const char* kCampaignDidEndNotification = "KaleoCampaignDidEndNotification";
inline constexpr const char* kCampaignDidFailedNotification = "KaleoCampaignDidFailedNotification";

/// Posted by a back end (or by a host without one) as the application's life goes on.
inline constexpr const char* kKLApplicationDidFinishLaunchingNotification = "KaleoApplicationDidFinishLaunchingNotification";
inline constexpr const char* kKLApplicationDidEnterBackgroundNotification = "KaleoApplicationDidEnterBackgroundNotification";
inline constexpr const char* kKLApplicationDidBecomeActiveNotification = "KaleoApplicationDidBecomeActiveNotification";
inline constexpr const char* kKLApplicationWillTerminateNotification = "KaleoApplicationWillTerminateNotification";
inline constexpr const char* kKLApplicationDidReceiveMemoryWarningNotification =
    "KaleoApplicationDidReceiveMemoryWarningNotification";

/// Named notifications from many senders to many observers.
///
/// Threads: any. Observers run on the thread that posts, in the order in which they were added, with no lock held, so an
/// observer may add, remove and post. An observer that throws is skipped.
class KALEO_API KLNotificationCenter {
 public:
  using Observer = std::function<void(const std::optional<KLValue>& userInfo)>;
  using Token = std::uint64_t;

  KLNotificationCenter();
  ~KLNotificationCenter();
  KLNotificationCenter(const KLNotificationCenter&) = delete;
  KLNotificationCenter& operator=(const KLNotificationCenter&) = delete;

  /// Observes the notification `name`. The token removes it again; tokens are never reused and never 0.
  Token addObserver(std::string name, Observer observer);
  /// Removes an observer. When it returns, the observer is not running on another thread and will not run again.
  /// Called from inside the observer itself it returns at once.
  void removeObserver(Token token);
  /// Tells every observer of `name`. The library's own never block and call nothing of the host but its logger.
  void post(std::string_view name, const std::optional<KLValue>& userInfo = std::nullopt);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo
