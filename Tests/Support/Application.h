#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Headless/KLHeadlessWindow.h"
#include "Support/Configurations.h"
#include "Support/FakeHost.h"
#include "Support/RecordingDelegates.h"
#include "Support/TemporaryDirectory.h"
#include "kaleo/KLView.h"
#include "kaleo/Kaleo.h"

namespace kaleo::testing {

/// A popup with a title, and a button at its end that closes it; `image` (a URL) puts a picture on top.
inline std::string layout(const std::string& image = "") {
  const std::string picture = R"({"type": "image", "layout": {"width": "100px", "height": "50px"}, "properties": {"image":")";
  return R"({"properties": {"maskCloseEnabled": true}, "template": {"type": "column", "layout": {"width": "300px"}, "subviews": [)" +
         (image.empty() ? "" : picture + image + "\"}},") +
         R"({"type": "label", "layout": {"width": "1"}, "properties": {"text": "Hello", "font": "20px", "msgType": "title"}},
            {"type": "button", "layout": {"width": "1", "height": "40px"}, "properties": {"text": "Close", "font": "16px"},
             "action": {"IOS": [{"id": "b", "type": "openlink", "value": "https://x", "closeable": true}]}}]}})";
}

/// A plan that shows `layout` at each event `event`.
inline KLObject popupPlan(int id, const std::string& event, const std::string& layout, const std::string& more = "{}") {
  KLObject popup = plan(id, event, more);
  popup.set("popup_window_content", KLObject{{"content", layout}});
  return popup;
}

/// The real time moved by a fixed amount.
class ShiftedClock : public KLClock {
 public:
  explicit ShiftedClock(double shift) : shift_(shift) {}
  double now() const override {
    return shift_ + std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  }

 private:
  double shift_;
};

/// What stays on a device between two runs of an application: its files and its host's key-value store.
struct Installation {
  explicit Installation(bool encrypted = false) : store(std::make_shared<MemoryStore>(encrypted)) {}

  TemporaryDirectory files;
  std::shared_ptr<MemoryStore> store;
};

/// One application with a whole library of its own: real threads, HTTP and SQLite; a host and a screen that the test plays.
class Application {
 public:
  struct Setup {
    std::string server;  ///< base URL
    std::string distinctId = "alice";
    double clockShift = 0;  ///< seconds
    /// What earlier runs have left; none: nothing.
    std::shared_ptr<Installation> installation = {};
    /// Changes what the library stands on, before it is made.
    std::function<void(KLPlatform&)> adjust = {};
  };

  explicit Application(const Setup& setup)
      : installation_(setup.installation ? setup.installation : std::make_shared<Installation>()),
        platform_(KLPlatform::standard("kaleo-test")) {
    host_.registry.registerNBStoreManager(installation_->store);
    login(setup.distinctId);
    platform_.host = std::shared_ptr<KLHostRegistry>(std::shared_ptr<void>(), &host_.registry);
    platform_.notificationCenter = notifications_;
    platform_.clock = std::make_shared<ShiftedClock>(setup.clockShift);
    platform_.directories = {files() / "documents", files() / "library", files() / "caches", {}};
    windows_ = std::make_shared<KLHeadlessWindowFactory>(platform_.mainQueue, platform_.presentation.screen);
    platform_.presentation.windows = windows_;
    if (setup.adjust) setup.adjust(platform_);
    options = std::make_shared<KLConfigOptions>(setup.server, host_.registry);
    options->setPopupDelegate(delegates);
    options->setCampaignDelegate(delegates);
    library = std::make_unique<KaleoInstance>(platform_);
  }

  /// A test that failed shows what the library said.
  ~Application() {
    if (!::testing::Test::HasFailure()) return;
    for (const auto& line : log().lines()) std::cerr << line.level << ' ' << line.message.substr(0, kLogColumns) << '\n';
  }
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  void start() { library->startWithConfigOptions(options); }
  void track(const std::string& name) { post(kNimbraTrackEventNotification, event(name)); }
  void post(const char* notification, const std::optional<KLValue>& userInfo = std::nullopt) {
    notifications_->post(notification, userInfo);
  }
  /// The host's identity; the library hears of it by a notification.
  void login(const std::string& distinctId) { host_.nimbra->setIdentity(distinctId, "login-" + distinctId); }

  /// Runs `work` on the main thread with the popup's window: null when none is on screen.
  void withWindow(const std::function<void(KLHeadlessWindow*)>& work) {
    platform_.mainQueue->sync([&] { work(windows_->windowOnScreen()); });
  }
  void onMain(std::function<void()> work) { platform_.mainQueue->async(std::move(work)); }
  /// Taps the last element of the popup on screen, if there is one.
  void tapButton() {
    withWindow([](KLHeadlessWindow* window) {
      if (!window) return;
      KLView* const content = window->root()->subviews().front().get();
      const KLRect button = content->subviews().back()->frameInRoot();
      window->tap({button.x + button.width / 2, button.y + button.height / 2});
    });
  }
  /// Looks at the popup on screen until `expected` is so; false after 20 seconds.
  bool sees(const std::function<bool(KLHeadlessWindow&)>& expected) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (bool is = false; std::chrono::steady_clock::now() < limit; std::this_thread::yield()) {
      withWindow([&](KLHeadlessWindow* window) { is = window && expected(*window); });
      if (is) return true;
    }
    return false;
  }
  std::size_t windowsOnScreen() {
    std::size_t count = 0;
    platform_.mainQueue->sync([&] { count = windows_->windowsOnScreen(); });
    return count;
  }
  /// Tracks `event` and sees the popup of `plan` come for the `times`-th time.
  bool shows(const std::string& event, int plan, int times = 1) {
    track(event);
    return delegates->waitFor("campaignDidStart " + std::to_string(plan), times);
  }
  /// The same; then closes the popup and sees it go.
  bool showsAndCloses(const std::string& event, int plan, int times = 1) {
    if (!shows(event, plan, times)) return false;
    tapButton();
    return delegates->waitFor("campaignDidEnd " + std::to_string(plan), times) && windowsOnScreen() == 0;
  }
  /// Sees the `times`-th configuration come into force; events tracked from then on meet it.
  bool installs(int times) { return log().waitFor("save and compare with local popup config", times); }
  /// Tracks `event` and sees that no plan listens to it. Events before it have been decided by then.
  bool ignores(const std::string& event) {
    const std::string refused = "This event does not need to resolve as it is not includes in plans";
    const int before = log().count(refused);
    track(event);
    return log().waitFor(refused, before + 1);
  }

  std::vector<std::string> trackedEvents() {
    std::vector<std::string> names;
    for (const auto& tracked : host_.nimbra->tracked()) names.push_back(tracked.event);
    return names;
  }
  std::filesystem::path database() const { return platform_.directories.documents / "Kaleo_Popup.sqlite"; }
  const TemporaryDirectory& files() const { return installation_->files; }
  FakeHost& host() { return host_; }
  RecordingLog& log() { return *host_.log; }

  std::shared_ptr<RecordingDelegates> delegates = std::make_shared<RecordingDelegates>();
  std::shared_ptr<KLConfigOptions> options;

 private:
  static constexpr std::size_t kLogColumns = 200;

  std::shared_ptr<Installation> installation_;
  FakeHost host_;
  std::shared_ptr<KLNotificationCenter> notifications_ = std::make_shared<KLNotificationCenter>();
  KLPlatform platform_;
  std::shared_ptr<KLHeadlessWindowFactory> windows_;

 public:
  std::unique_ptr<KaleoInstance> library;  ///< ends before what it stands on
};

}  // namespace kaleo::testing
