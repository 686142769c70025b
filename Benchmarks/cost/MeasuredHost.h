#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "Support/FakeHost.h"
#include "Support/TemporaryDirectory.h"
#include "kaleo/Kaleo.h"

namespace kaleo::bench {

/// The event that the plan `popupPlanText` listens to.
inline constexpr const char* kPopupEvent = "Open";

/// A server's answer: `plans` plans of the benchmarks' workload with layouts (3 kB each), and one that shows a popup at
/// `kPopupEvent`. `pullSeconds`: the refresh interval that it asks for.
std::string answerText(std::size_t plans, double pullSeconds = 600);

/// Counts what the library asks the application.
class CountingDelegate : public KLPopupDelegate, public KLCampaignDelegate {
 public:
  explicit CountingDelegate(bool admits) : admits_(admits) {}
  bool campaignShouldStart(const KLCampaign&) override;
  void campaignDidStart(const KLCampaign&) override;
  void campaignDidEnd(const KLCampaign&) override;

  /// Wait until the library has asked, or shown, `times` in all; false after a minute.
  bool waitUntilAsked(int times = 1);
  bool waitUntilShown(int times = 1);
  /// How many popups were shown, and how many of them have gone.
  int shown();
  int ended();

 private:
  bool waitUntil(const int& count, int times);

  const bool admits_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int asked_ = 0;  ///< guarded by mutex_
  int shown_ = 0;  ///< guarded by mutex_
  int ended_ = 0;  ///< guarded by mutex_
};

/// A host application as a customer's would be: no logger, no recorder, a presentation without a screen, real threads, HTTP and
/// disk.
class MeasuredHost {
 public:
  /// `admits`: whether the application lets popups appear. `files`: where the library keeps its state. `adjust` changes what the
  /// library stands on, before it is made.
  MeasuredHost(const std::string& server, const std::filesystem::path& files, bool admits,
               const std::function<void(KLPlatform&)>& adjust = {});

  void start() { library_->startWithConfigOptions(options_); }
  void track(const KLValue& record) { notifications_->post(kNimbraTrackEventNotification, record); }
  void trackName(const std::string& name) { track(KLObject{{"event", name}, {"properties", KLObject{}}}); }
  void post(const char* notification) { notifications_->post(notification); }
  /// Starts and waits until a first event has been decided. False when that does not come.
  bool startAndSettle();

  KaleoInstance& library() { return *library_; }
  CountingDelegate& delegate() { return *delegate_; }
  const std::shared_ptr<KLConfigOptions>& options() const { return options_; }

 private:
  KLHostRegistry registry_;
  std::shared_ptr<testing::FakeNimbra> nimbra_ = std::make_shared<testing::FakeNimbra>();
  std::shared_ptr<testing::MemoryStore> store_ = std::make_shared<testing::MemoryStore>();
  std::shared_ptr<KLNotificationCenter> notifications_ = std::make_shared<KLNotificationCenter>();
  std::shared_ptr<CountingDelegate> delegate_;
  std::shared_ptr<KLConfigOptions> options_;
  std::unique_ptr<KaleoInstance> library_;
};

}  // namespace kaleo::bench
