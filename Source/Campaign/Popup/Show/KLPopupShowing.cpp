#include "Campaign/Popup/Show/KLPopupShowing.h"

#include <algorithm>
#include <utility>

#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"
#include "Campaign/Popup/Show/KLCampaignErrors.h"

namespace kaleo {
namespace {

std::string planIDOf(const KLCampaign& campaign) { return campaign.planID.value_or(""); }

std::string queueLabel(const void* owner) { return fmt::format("org.kaleo.KLPopupViewResolver.{}", owner); }

}  // namespace

KLPopupShowing::KLPopupShowing(const KLCampaignSurroundings& surroundings, KLPresentation presentation,
                               KLImageDownloader& downloader, std::filesystem::path resources)
    : stage_(surroundings, queueLabel(this)),
      presentation_(std::move(presentation)),
      downloader_(downloader),
      loader_(surroundings.log, presentation_, std::move(resources)) {}

void KLPopupShowing::showPopupWithCampaign(const Campaign& campaign) {
  if (!campaign->planID || !campaign->uuid || !take(campaign)) return;
  const auto event = std::make_shared<KLCampaignPlanEvent>(campaign, stage_.surroundings());
  const KLPopupPlanModel* plan = event->planModel.get();
  if (const auto error = refusal(campaign, plan)) return loadFailedWithCampaign(campaign, *event, *error);
  const auto loaded = load(plan ? plan->popupWindowContent : KLValue(), *event);
  if (loaded.error) {
    log().error("Load failed with plan ID: {}, error: {}", *campaign->planID, KLErrorDescription(*loaded.error));
    return loadFailedWithCampaign(campaign, *event, *loaded.error);
  }
  stage_.onMain([this, popup = loaded.popup, campaign, event] { present(*popup, campaign, event); });
}

void KLPopupShowing::showTestPopupWithCampaign(const Campaign& campaign) {
  const auto event = std::make_shared<KLCampaignPlanEvent>(campaign, stage_.surroundings());
  const auto loaded = load(campaign->campaignContent, *event);
  if (loaded.error) {
    log().error("Test popup window load failed! Error: {}", KLErrorDescription(*loaded.error));
    return loadFailedWithCampaign(campaign, *event, *loaded.error);
  }
  stage_.onMain([this, popup = loaded.popup, campaign, event] { presentTest(*popup, campaign, event); });
}

bool KLPopupShowing::take(const Campaign& campaign) {
  std::unique_lock lock(mutex_);
  const Campaign holder = current_;
  if (!holder) current_ = campaign;
  lock.unlock();
  if (holder) {
    log().info("Current plan ID is {}, new plan ID is {}. The new plan popup window don't show", planIDOf(*holder),
               planIDOf(*campaign));
    stage_.note(*campaign, KLPopupOutcome::Kind::Failed, KLCampaignErrors::displaced(planIDOf(*holder)));
  }
  return !holder;
}

std::optional<KLError> KLPopupShowing::refusal(const Campaign& campaign, const KLPopupPlanModel* plan) {
  if (plan && plan->hasStrategy()) {
    if (!plan->isTrigger) return KLCampaignErrors::notTriggerPlan();
  } else if (plan && plan->isControlGroup) {
    log().info("The plan is control group, planID: {}", *campaign->planID);
    return KLCampaignErrors::controlGroup();
  }
  return stage_.mayStart(campaign) ? std::nullopt : std::optional(KLCampaignErrors::refusedByApplication());
}

KLPopupLoadResult KLPopupShowing::load(const KLValue& content, KLCampaignPlanEvent& event) const {
  const auto present = options();
  return loader_.loadPopupModelWithPopupWindowContent(content, present.get(), event);
}

void KLPopupShowing::loadFailedWithCampaign(const Campaign& campaign, const KLCampaignPlanEvent& event, const KLError& error) {
  if (stage_.isClosed()) return;  // the library ends; nothing has failed
  event.trackPlanPopupDisplayWithError(error);
  release(campaign);  // before the notification, which may bring the next campaign at once
  stage_.note(*campaign, KLPopupOutcome::Kind::Failed, error);
  if (campaign->planID) stage_.post(kCampaignDidFailedNotification);
  stage_.tellPopupDelegate([campaign, error](auto& delegate) { delegate.popupLoadFailedWithPlanID(planIDOf(*campaign), error); });
  stage_.tellCampaignDelegate([campaign, error](auto& delegate) { delegate.campaignFailed(*campaign, error); });
}

std::shared_ptr<KLPopupViewController> KLPopupShowing::popupViewController(const KLLoadedPopup& popup, const Campaign& campaign,
                                                                           const PlanEvent& event) {
  auto view = popupViewWithElementModel(*popup.model.element, {downloader_, popup.pictures});
  auto controller = std::make_shared<KLPopupViewController>(campaign, std::move(view), presentation_);
  const auto& style = popup.model.properties;
  if (style && style->maskColor) controller->maskColor = *style->maskColor;
  controller->maskActions = popup.model.maskActions;
  controller->delegate = weak_from_this();
  controller->planEvent = event;
  std::erase_if(controllers_, [](const auto& known) { return known.expired(); });
  controllers_.push_back(controller);
  return controller;
}

void KLPopupShowing::present(const KLLoadedPopup& popup, const Campaign& campaign, const PlanEvent& event) {
  popupViewController(popup, campaign, event)->show();
}

void KLPopupShowing::presentTest(const KLLoadedPopup& popup, const Campaign& campaign, const PlanEvent& event) {
  if (const auto earlier = currentTestPopupViewController_.lock()) earlier->dismiss();
  const auto controller = popupViewController(popup, campaign, event);
  controller->show();
  currentTestPopupViewController_ = controller;
}

void KLPopupShowing::willShowPopupViewController(KLPopupViewController& controller) {
  stage_.here([&] {
    log().detail("Popup window will show.");
    controller.planEvent->trackPlanPopupDisplayWithError(std::nullopt);
  });
}

void KLPopupShowing::didShowPopupViewController(KLPopupViewController& controller) {
  stage_.here([this, campaign = controller.campaign()] {
    log().detail("Popup window did show.");
    stage_.note(*campaign, KLPopupOutcome::Kind::Shown);
    stage_.tellCampaignDelegate([campaign](auto& delegate) { delegate.campaignDidStart(*campaign); });
    stage_.tellPopupDelegate([campaign](auto& delegate) { delegate.popupLoadSuccessWithPlanID(planIDOf(*campaign)); });
  });
}

void KLPopupShowing::willDismissViewController(KLPopupViewController&) {
  stage_.here([this] { log().detail("Popup window will dismiss."); });
}

void KLPopupShowing::didDismissViewController(KLPopupViewController& controller) {
  stage_.here([&] {
    log().detail("Popup window did dismiss.");
    ended(controller);
    const auto& campaign = controller.campaign();
    stage_.tellPopupDelegate([campaign](auto& delegate) { delegate.popupDidCloseWithPlanID(planIDOf(*campaign)); });
    stage_.tellCampaignDelegate([campaign](auto& delegate) { delegate.campaignDidEnd(*campaign); });
  });
}

void KLPopupShowing::ended(const KLPopupViewController& controller) {
  // The place is freed before the notification, which may bring the next campaign at once. A second dismissal and a test popup
  // beside a normal one do not end what others wait for.
  const bool isTest = !controller.campaign()->planID;
  const bool isFirst = release(controller.campaign());
  if (isFirst) {
    stage_.note(*controller.campaign(), KLPopupOutcome::Kind::Ended,
                controller.isWindowLost() ? std::optional(KLCampaignErrors::windowLost()) : std::nullopt);
  }
  if (isFirst || (isTest && isIdle())) stage_.post(kCampaignDidEndNotification);
}

void KLPopupShowing::didClickForElement(KLPopupViewController& controller, KLView& view) {
  stage_.here([&] {
    log().detail("Popup window did click.");
    const auto& campaign = controller.campaign();
    const std::shared_ptr<const KLPopupActionModel> action = view.popupActions.front();
    stage_.tellPopupDelegate(
        [campaign, action](auto& delegate) { delegate.popupDidClickWithPlanID(planIDOf(*campaign), *action); });
    stage_.onMain([campaign, action] { campaign->action = action; });
    stage_.tellCampaignDelegate([campaign](auto& delegate) { delegate.campaignDidClick(*campaign); });
    controller.planEvent->trackPlanPopupClickWithElementModel(view.elementModel.get());
  });
}

bool KLPopupShowing::release(const Campaign& campaign) {
  std::lock_guard lock(mutex_);
  if (current_ != campaign) return false;
  current_ = nullptr;
  return true;
}

bool KLPopupShowing::isIdle() const {
  std::lock_guard lock(mutex_);
  return !current_;
}

void KLPopupShowing::close() {
  stage_.close();
  // It is done when the last holder goes: here on the main thread, else with a task there. A main queue that has ended drops the
  // task, and then it is done at once; what kept the popup alive would stay for good.
  std::shared_ptr<void> takeDown(nullptr, [controllers = std::exchange(controllers_, {})](void*) {
    for (const auto& known : controllers) {
      if (const auto controller = known.lock()) controller->takeDown();
    }
  });
  KLQueue& mainQueue = stage_.surroundings().mainQueue;
  if (!mainQueue.isCurrent()) mainQueue.async([held = std::move(takeDown)] {});
}

}  // namespace kaleo
