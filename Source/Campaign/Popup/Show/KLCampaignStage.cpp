#include "Campaign/Popup/Show/KLCampaignStage.h"

#include <atomic>
#include <utility>

namespace kaleo {
namespace {

template <class Delegate>
void callSafely(const std::shared_ptr<Delegate>& delegate, const std::function<void(Delegate&)>& what) {
  if (!delegate) return;
  try {
    what(*delegate);
  } catch (...) {  // an application's fault must not end the popup's life half told
  }
}

}  // namespace

struct KLCampaignStage::Question {
  std::unique_ptr<KLWakeUp> answered;
  std::atomic<Answer> answer = Answer::Silent;

  void reply(Answer given) {
    answer = given;
    answered->raise();
  }
};

KLCampaignStage::KLCampaignStage(const KLCampaignSurroundings& surroundings, const std::string& queueLabel)
    : surroundings_(surroundings), queue_(surroundings.threading.makeSerialQueue(queueLabel)) {}

void KLCampaignStage::onQueue(Work work) {
  std::lock_guard lock(mutex_);
  if (closed_) return;
  const auto ticket = scope_->keep(std::move(work));
  queue_->async([scope = scope_, ticket] { scope->run(ticket); });
}

void KLCampaignStage::onMain(Work work) {
  const auto ticket = scope_->keep(std::move(work));
  if (ticket) surroundings_.mainQueue.async([scope = scope_, ticket] { scope->run(ticket); });
}

void KLCampaignStage::here(const Work& work) { scope_->run(scope_->keep(work)); }

void KLCampaignStage::tellPopupDelegate(std::function<void(KLPopupDelegate&)> what) {
  onMain([this, what = std::move(what)] {
    const auto present = options();
    callSafely(present ? present->popupDelegate() : nullptr, what);
  });
}

void KLCampaignStage::tellCampaignDelegate(std::function<void(KLCampaignDelegate&)> what) {
  onMain([this, what = std::move(what)] {
    const auto present = options();
    callSafely(present ? present->campaignDelegate() : nullptr, what);
  });
}

KLCampaignStage::Answer KLCampaignStage::askCampaignDelegate(std::function<bool(KLCampaignDelegate&)> question) {
  const auto present = options();
  if (!present || !present->campaignDelegate()) return Answer::NoDelegate;
  auto asked = std::make_shared<Question>();
  asked->answered = surroundings_.threading.makeWakeUp();
  if (!begin(asked)) return Answer::Silent;
  onMain([asked, present, question = std::move(question)] {
    Answer answer = Answer::NoDelegate;
    callSafely<KLCampaignDelegate>(present->campaignDelegate(), [&](KLCampaignDelegate& delegate) {
      answer = Answer::No;
      answer = question(delegate) ? Answer::Yes : Answer::No;
    });
    asked->reply(answer);
  });
  if (asked->answered->wait(kAnswerSeconds)) return asked->answer;
  surroundings_.log.error("The application did not answer within {} seconds, which counts as a refusal", kAnswerSeconds);
  return Answer::Silent;
}

bool KLCampaignStage::mayStart(const std::shared_ptr<KLCampaign>& campaign) {
  const Answer answer = askCampaignDelegate([campaign](KLCampaignDelegate& delegate) {
    return !delegate.implementsCampaignShouldStart() || delegate.campaignShouldStart(*campaign);
  });
  return answer == Answer::Yes || answer == Answer::NoDelegate;
}

void KLCampaignStage::note(const KLCampaign& campaign, KLPopupOutcome::Kind kind, std::optional<KLError> error) {
  if (!campaign.planID || !surroundings_.noteOutcome) return;
  surroundings_.noteOutcome({kind, *campaign.planID, campaign.uuid.value_or(""), std::move(error)});
}

bool KLCampaignStage::begin(const std::shared_ptr<Question>& question) {
  std::lock_guard lock(mutex_);
  if (!closed_) pending_ = question;
  return !closed_;
}

bool KLCampaignStage::isClosed() const {
  std::lock_guard lock(mutex_);
  return closed_;
}

void KLCampaignStage::close() {
  std::shared_ptr<KLQueue> queue;
  std::shared_ptr<Question> waiting;
  {
    std::lock_guard lock(mutex_);
    closed_ = true;
    queue = std::move(queue_);
    waiting = std::move(pending_);
  }
  if (waiting) waiting->answered->raise();
  scope_->close();
}

}  // namespace kaleo
