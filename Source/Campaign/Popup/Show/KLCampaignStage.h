#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Core/Base/Campaign/KLCampaignSurroundings.h"
#include "Foundation/KLScope.h"
#include "kaleo/KLDelegates.h"

namespace kaleo {

/// What the resolvers share: their queue, the way to the main thread, and the talk with the application.
///
/// Threads: any, unless a member says otherwise. After `close` nothing that was handed in runs any more.
class KLCampaignStage {
 public:
  using Work = std::function<void()>;

  /// How long the application may take to answer a question, in seconds: long enough for a main thread that is busy, short enough
  /// that one which is stuck does not hold the popups for ever.
  static constexpr double kAnswerSeconds = 10;

  KLCampaignStage(const KLCampaignSurroundings& surroundings, const std::string& queueLabel);
  ~KLCampaignStage() { close(); }
  KLCampaignStage(const KLCampaignStage&) = delete;
  KLCampaignStage& operator=(const KLCampaignStage&) = delete;

  const KLCampaignSurroundings& surroundings() const { return surroundings_; }

  void onQueue(Work work);
  void onMain(Work work);
  /// Runs `work` in place, on the main thread, and has `close` wait for it.
  void here(const Work& work);

  /// Calls the application's delegate later on the main thread, if there is one. What it throws is ignored.
  void tellPopupDelegate(std::function<void(KLPopupDelegate&)> what);
  void tellCampaignDelegate(std::function<void(KLCampaignDelegate&)> what);

  enum class Answer { Yes, No, NoDelegate, Silent };
  /// Asks the campaign delegate on the main thread and waits. One that throws answers No, one that takes too long is Silent, which
  /// is logged. On the resolver's queue.
  Answer askCampaignDelegate(std::function<bool(KLCampaignDelegate&)> question);
  /// Whether the application lets the campaign start: yes, unless it implements `campaignShouldStart` and says no, or
  /// nothing.
  bool mayStart(const std::shared_ptr<KLCampaign>& campaign);

  /// Tells what became of the campaign; nothing for a test popup. Before the notification.
  void note(const KLCampaign& campaign, KLPopupOutcome::Kind kind, std::optional<KLError> error = {});
  void post(const char* notification) { surroundings_.notificationCenter.post(notification); }

  /// Drops what has not begun, lets go of who waits for an answer, and waits for what runs. Not on the resolver's queue.
  void close();
  bool isClosed() const;

 private:
  struct Question;

  std::shared_ptr<KLConfigOptions> options() const { return surroundings_.options(); }
  bool begin(const std::shared_ptr<Question>& question);

  const KLCampaignSurroundings surroundings_;
  const std::shared_ptr<KLScope> scope_ = std::make_shared<KLScope>();  ///< of the main thread's and the queue's work
  mutable std::mutex mutex_;
  bool closed_ = false;                ///< guarded by mutex_
  std::shared_ptr<Question> pending_;  ///< guarded by mutex_
  std::shared_ptr<KLQueue> queue_;     ///< null once closed
};

}  // namespace kaleo
