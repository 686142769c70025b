#pragma once

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Core/Base/Campaign/KLCampaignSurroundings.h"
#include "Platform/Headless/KLHeadlessWindow.h"
#include "Support/PictureDownloads.h"
#include "kaleo/KLDelegates.h"
#include "kaleo/KLView.h"

namespace kaleo::testing {

/// Delegates that write down what they are told, and answer as they are set.
struct RecordingDelegates : KLPopupDelegate, KLCampaignDelegate {
  void popupLoadSuccessWithPlanID(const std::string& id) override { note("popupLoadSuccess " + id); }
  void popupLoadFailedWithPlanID(const std::string& id, const KLError& error) override {
    note("popupLoadFailed " + id + " " + std::to_string(error.code) + " " + error.localizedDescription);
  }
  void popupDidClickWithPlanID(const std::string& id, const KaleoActionModel& action) override {
    note("popupDidClick " + id + " " + std::to_string(static_cast<int>(action.type)));
  }
  void popupDidCloseWithPlanID(const std::string& id) override { note("popupDidClose " + id); }

  bool implementsCampaignShouldStart() const override { return implementsShouldStart; }
  bool implementsCampaignDidStart() const override { return implementsDidStart; }
  bool campaignShouldStart(const KLCampaign&) override {
    note("campaignShouldStart");
    return shouldStart;
  }
  void campaignDidStart(const KLCampaign&) override { note("campaignDidStart"); }
  void campaignDidClick(const KLCampaign& campaign) override {
    note("campaignDidClick " + std::to_string(static_cast<int>(campaign.action->type)));
  }
  void campaignDidEnd(const KLCampaign&) override { note("campaignDidEnd"); }
  void campaignFailed(const KLCampaign&, const KLError& error) override { note("campaignFailed " + std::to_string(error.code)); }

  void note(std::string text) {
    notes.push_back(std::move(text));
    if (throws) throw std::runtime_error("delegate");
  }

  bool implementsShouldStart = true, implementsDidStart = true, shouldStart = true, throws = false;
  std::vector<std::string> notes;
};

/// Everything that popups stand on, in virtual time, with a user whom the test plays.
struct PopupStage {
  PopupStage() {
    options->setPopupDelegate(delegates);
    options->setCampaignDelegate(delegates);
    for (const char* name : {kCampaignDidEndNotification, kCampaignDidFailedNotification}) {
      downloads.center.addObserver(name, [this, name](const auto&) { notifications.push_back(name); });
    }
    plan->planID = 42;
    plan->isTrigger = true;
    plan->compile();
  }

  /// Lets popups that are still on screen be taken down.
  ~PopupStage() { threading.run(); }

  KLHeadlessWindow& window() { return *windows->windowOnScreen(); }
  bool isPopupOnScreen() const { return windows->windowOnScreen() != nullptr; }
  /// Lets work run and movements end.
  void settle() { downloads.threading.advance(1); }
  std::vector<std::string> events() const {
    std::vector<std::string> names;
    for (const auto& tracked : downloads.host.nimbra->tracked()) names.push_back(tracked.event);
    return names;
  }
  void setContent(const std::string& layout) { plan->popupWindowContent = KLValue(KLObject{{"content", layout}}); }
  std::shared_ptr<KLCampaign> campaign() const {
    return std::make_shared<KLCampaign>(plan->planKey(), "spring", "UUID", plan->popupWindowContent);
  }
  /// These surroundings on other threads.
  KLCampaignSurroundings surroundingsOn(KLThreading& threads, KLQueue& mainQueue) {
    return {threads,
            mainQueue,
            downloads.center,
            bridge,
            downloads.log,
            surroundings.options,
            surroundings.planWithIdentifier,
            surroundings.noteOutcome};
  }
  KLPresentation presentation() const { return {screen, std::make_shared<KLFixedTextMeasurer>(), pasteboard, windows}; }

  PictureDownloads downloads;
  ManualThreading& threading = downloads.threading;
  NBBridge bridge{downloads.host.registry, downloads.log};
  std::shared_ptr<KLConfigOptions> options = std::make_shared<KLConfigOptions>("https://e.com", downloads.host.registry);
  std::shared_ptr<RecordingDelegates> delegates = std::make_shared<RecordingDelegates>();
  std::shared_ptr<KLPopupPlanModel> plan = std::make_shared<KLPopupPlanModel>();
  std::shared_ptr<KLHeadlessScreen> screen = std::make_shared<KLHeadlessScreen>();
  std::shared_ptr<KLMemoryPasteboard> pasteboard = std::make_shared<KLMemoryPasteboard>();
  std::shared_ptr<KLHeadlessWindowFactory> windows = std::make_shared<KLHeadlessWindowFactory>(threading.mainQueue(), screen);
  std::vector<std::string> notifications;
  std::vector<std::string> outcomes;  ///< "plan: message", with the error's code and text
  KLCampaignSurroundings surroundings{threading,
                                      *threading.mainQueue(),
                                      downloads.center,
                                      bridge,
                                      downloads.log,
                                      [this] { return options; },
                                      [this](const std::string& id) { return id == plan->planKey() ? plan : nullptr; },
                                      [this](const KLPopupOutcome& outcome) { note(outcome); }};

 private:
  void note(const KLPopupOutcome& outcome) {
    const std::string whose = outcome.popupUUID.starts_with("UUID") ? "" : " of another display";
    const std::string error = outcome.error ? fmt::format(" {} {}", outcome.error->code, outcome.error->localizedDescription) : "";
    outcomes.push_back(outcome.planID + ": " + outcome.content().find("message")->asString() + whose + error);
  }
};

}  // namespace kaleo::testing
