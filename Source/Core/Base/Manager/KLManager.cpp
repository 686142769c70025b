#include "Core/Base/Manager/KLManager.h"

#include "Core/Base/Manager/KLCampaignTest.h"
#include "Core/Model/KLEventName.h"

namespace kaleo {

std::shared_ptr<KLManager> KLManager::create(KLManagerSurroundings surroundings) {
  const std::shared_ptr<KLManager> manager(new KLManager(std::move(surroundings)));
  manager->addListeners();
  return manager;
}

KLManager::KLManager(KLManagerSurroundings surroundings)
    : around_(std::move(surroundings)),
      fetcher_(around_.network, around_.bridge, around_.log),
      reachabilityManager_(around_.reachability),
      firstAnswer_(around_.threading.makeWakeUp()),
      triggerQueue_(around_.threading.makeSerialQueue("org.kaleo.TriggerQueue")) {
  around_.log.info("KL Manager single instance init");
}

KLManager::~KLManager() {
  around_.log.info("KL Manager will be dealloc");
  stop();
  close();
}

std::shared_ptr<KLConfigOptions> KLManager::options() const {
  std::lock_guard lock(mutex_);
  return options_;
}

KLPresentationHooks KLManager::presentation() const {
  std::lock_guard lock(mutex_);
  return presentation_;
}

std::shared_ptr<const KLPopupPlanModel> KLManager::planWithIdentifier(const std::string& planID) const {
  const KLTrigger* const trigger = trigger_;
  return trigger ? trigger->planWithIdentifier(planID) : nullptr;
}

void KLManager::noteOutcome(KLPopupOutcome outcome) {
  KLTrigger* const trigger = trigger_;
  if (!trigger || !around_.diagnosis.get()) return;
  trigger->noteOutcome(std::move(outcome));
  // For one that comes when its popup is waited for no more, as when the application itself has posted the end.
  triggerQueue_->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (KLTrigger* const present = self ? self->trigger() : nullptr) present->recordOutcomes();
  });
}

void KLManager::changePlans(NeededEvents needed, std::function<void(KLManager&)> work) {
  auto place = planChanges_.end();
  if (!needed || !needed->empty()) {  // no event has to wait for a change that listens to none, such as the end of a user's plans
    std::lock_guard lock(planChangesMutex_);
    place = planChanges_.insert(place, std::move(needed));
  }
  triggerQueue_->async([weak = weak_from_this(), work = std::move(work), place] {
    const auto self = weak.lock();
    if (!self) return;
    try {
      if (!self->stopped_) work(*self);
    } catch (...) {  // such as for want of memory or threads; what has been changed so far holds
      self->around_.log.error("the plans could not be changed");
    }
    std::lock_guard lock(self->planChangesMutex_);
    if (place != self->planChanges_.end()) self->planChanges_.erase(place);
  });
}

void KLManager::stop() {
  if (stopped_.exchange(true)) return;
  removeListeners();
  if (KLTrigger* const trigger = trigger_) trigger->stop();
  firstAnswer_->raise();
}

void KLManager::close() {
  if (!triggerQueue_) return;
  // Whatever else the queue holds sees that the manager has stopped; this is the last that runs there.
  triggerQueue_->sync([this] {
    if (KLTrigger* const trigger = trigger_) trigger->stop();
    timer_.reset();
    if (ownedTrigger_) ownedTrigger_->convertResults().stop();
  });
  triggerQueue_.reset();
  installer_.reset();
  trigger_ = nullptr;
  ownedTrigger_.reset();
  store_.reset();
}

// Listeners

void KLManager::observe(const char* name, void (KLManager::*handler)()) {
  tokens_.push_back(around_.notificationCenter.addObserver(name, [weak = weak_from_this(), handler](const auto&) {
    if (const auto self = weak.lock()) ((*self).*handler)();
  }));
}

void KLManager::addListeners() {
  around_.log.info("KL Manager add listeners");
  removeListeners();
  std::lock_guard lock(mutex_);
  for (const char* const name : {kNimbraTrackEventNotification, kNimbraTrackEventFromH5Notification}) {
    tokens_.push_back(around_.notificationCenter.addObserver(name, [weak = weak_from_this()](const auto& userInfo) {
      if (const auto self = weak.lock()) self->trackEvent(userInfo);
    }));
  }
  for (const char* const name : {kNimbraTrackLoginNotification, kNimbraTrackLogoutNotification, kNimbraTrackIdentifyNotification,
                                 kNimbraTrackResetAnonymousIdNotification, kNimbraSetServerUrlNotification}) {
    observe(name, &KLManager::switchUser);
  }
  observe(kKLApplicationDidEnterBackgroundNotification, &KLManager::applicationDidEnterBackground);
  observe(kKLApplicationDidBecomeActiveNotification, &KLManager::applicationDidBecomeActive);
  observe(kKLApplicationDidFinishLaunchingNotification, &KLManager::applicationDidFinishLaunching);
}

void KLManager::removeListeners() {
  around_.log.info("Remove listeners for KL Manager");
  std::vector<KLNotificationCenter::Token> tokens;
  {
    std::lock_guard lock(mutex_);
    tokens.swap(tokens_);
  }
  for (const auto token : tokens) around_.notificationCenter.removeObserver(token);
}

void KLManager::trackEvent(const std::optional<KLValue>& userInfo) {
  if (!userInfo || !mayConcernPlans(*userInfo)) return;
  triggerQueue_->async([weak = weak_from_this(), record = *userInfo]() mutable {
    const auto self = weak.lock();
    if (!self || self->stopped_) return;
    if (KLTrigger* const trigger = self->trigger_) return trigger->triggerEvent(std::move(record), self->around_.time.clock.now());
    KLTrigger::shouldHandleEvent(KLEventName(record), nullptr, self->around_.log);  // before the start: only its log lines
  });
}

// An event meets the plans in force or those of a change that is queued before it: what is queued later comes behind it. So an
// event that none of them listens to leaves nothing behind, however long a popup holds up the queue. A logger is to be told of it,
// in its turn.
bool KLManager::mayConcernPlans(const KLValue& record) const {
  if (around_.log.isEnabled()) return true;
  const KLEventName name(record);
  {
    std::lock_guard lock(planChangesMutex_);
    for (const auto& needed : planChanges_) {
      if (!needed || needed->contains(name.text())) return true;
    }
  }
  const KLTrigger* const trigger = trigger_;
  return trigger && name.isPresent() && trigger->isNeededEvent(name.text());
}

void KLManager::switchUser() {
  around_.log.info("switch user, will clean memory data and fetch plans");
  ++userSwitches_;
  changePlans(neededEvents({}), [](KLManager& self) {
    if (KLTrigger* const trigger = self.trigger_) trigger->removePlans();
    self.fetchPopupConfig();
  });
}

void KLManager::applicationDidEnterBackground() {
  triggerQueue_->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->appRelaunched_ = self->inBackground_ = true;
    self->timer_.reset();
    if (self->ownedTrigger_) self->ownedTrigger_->convertResults().stop();
  });
}

void KLManager::applicationDidBecomeActive() {
  triggerQueue_->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || self->stopped_) return;
    self->inBackground_ = false;
    if (!self->appRelaunched_) return;
    const auto options = self->options();
    if (!options) {
      self->around_.log.error("Kaleo Config optons was nil, you must initialize Kaleo SDK correctly");
      return;
    }
    self->appRelaunched_ = false;
    if (self->ownedTrigger_) self->ownedTrigger_->convertResults().resetDuration();
    self->makeTimer(0, options->fetchPlansInterval());
  });
}

void KLManager::applicationDidFinishLaunching() {
  triggerQueue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->appRelaunched_ = self->inBackground_ = false;
  });
}

// Calls of the application

void KLManager::fetchCampaignsWithCompletion(OnResponse completion) {
  completion = [given = std::move(completion)](const KLCampaignResponse& response) {
    try {
      if (given) given(response);
    } catch (...) {  // as every fault of the application: its caller may be the application itself
    }
  };
  if (!hasCompleteInit_) {
    constexpr const char* message = "You should not invoke this function before SDK init";
    around_.log.error("{}", message);
    completion({false, {}, KLError::kaleo(KLError::NotInitialized, message)});
    return;
  }
  around_.log.info("Start fetching popup plans config");
  // Elsewhere, as the host is asked for its user and may take its time.
  around_.threading.backgroundQueue()->async([weak = weak_from_this(), completion = std::move(completion)] {
    if (const auto self = weak.lock()) self->fetchOnDemand(completion);
  });
}

void KLManager::fetchOnDemand(const OnResponse& completion) {
  const std::uint64_t switches = userSwitches_;
  fetcher_.fetchCampaignsWithSuccess(
      options()->apiBaseURL(),
      [weak = weak_from_this(), completion, switches](const auto& response, auto config) {
        if (const auto self = weak.lock()) {
          FetchResult result{std::move(config), switches};
          auto needed = neededEvents(result);
          self->changePlans(std::move(needed), [result = std::move(result)](KLManager& manager) { manager.install(result); });
        }
        const KLValue* const plans = response ? response->find("popup_plans") : nullptr;
        completion({true, plans ? *plans : KLValue(KLValue::Array{}), std::nullopt});
      },
      [weak = weak_from_this(), completion](std::optional<KLError> error) {
        if (const auto self = weak.lock()) self->around_.log.info("Fetch popup config failed");
        completion({false, {}, std::move(error)});
      });
}

bool KLManager::handleOpenURL(const std::string& url) {
  around_.log.info("Handle open url: {}", url);
  const auto test = KLCampaignTest::withURL(url);
  if (!test || !test->asksForPopup() || !options()) return false;
  // Elsewhere, as the host is asked for its user and may take its time.
  around_.threading.backgroundQueue()->async([weak = weak_from_this(), test = *test, url] {
    const auto self = weak.lock();
    if (!self) return;
    test.fetch(self->options()->apiBaseURL(), self->around_.network, self->around_.bridge, [weak, url](const KLValue* reply) {
      if (const auto manager = weak.lock()) manager->showTestPopup(url, reply);
    });
  });
  return true;
}

void KLManager::showTestPopup(const std::string& url, const KLValue* reply) const {
  if (!reply || !reply->isObject()) return around_.log.error("No test popup window came for url: {}", url);
  const auto show = presentation().showTestCampaign;
  if (!show) return;
  const KLValue* const name = reply->find("name");
  auto title = name && name->isString() ? std::optional(name->asString()) : std::nullopt;
  show(std::make_shared<KLCampaign>(std::nullopt, std::move(title), std::nullopt, *reply));
}

}  // namespace kaleo
