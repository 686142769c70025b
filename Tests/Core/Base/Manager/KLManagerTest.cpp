#include "Core/Base/Manager/KLManager.h"

#include <gmock/gmock.h>

#include "Support/CoreFixture.h"

namespace kaleo {
namespace {

using testing::answer;
using ::testing::ElementsAre;
using testing::event;
using ::testing::IsEmpty;
using testing::plan;

/// Reports what the test says.
class FakeReachability : public KLReachabilitySource {
 public:
  void start(Changed changed) override {
    changed_ = std::move(changed);
    set(state_);
  }
  void stop() override { changed_ = nullptr; }
  void set(KLReachability state) {
    state_ = state;
    if (changed_) changed_(state);
  }
  bool isMonitored() const { return changed_ != nullptr; }

 private:
  Changed changed_;
  KLReachability state_ = KLReachability::NotReachable;
};

class KLManagerTest : public testing::CoreFixture {
 protected:
  KLManagerTest() { make(); }
  ~KLManagerTest() override { manager->stop(), manager->close(); }

  void make() {
    manager = KLManager::create({host.registry,
                                 threads,
                                 notifications,
                                 bridge,
                                 hostStore,
                                 log,
                                 diagnosis,
                                 user,
                                 time,
                                 random,
                                 network,
                                 reachability,
                                 {directory.path(), directory.path(), directory.path(), {}},
                                 [this] {
                                   return KLPresentationHooks{[this](auto campaign) {
                                                                shown.push_back(*campaign->planID);
                                                                notifications.post(kCampaignDidEndNotification);
                                                              },
                                                              [this](auto campaign) { tests.push_back(campaign); },
                                                              [this](const auto& urls) {
                                                                images.push_back(urls);
                                                                if (downloadFails) throw std::runtime_error("download");
                                                              }};
                                 },
                                 [this] { return recorder; }});
  }
  void restart() {
    manager->stop();
    manager->close();
    make();
  }

  void start() {
    manager->startWithConfigOptions(options);
    threads.run();
  }
  /// Starts with a network and this first answer.
  void startWith(const KLValue& first) {
    reachability.set(KLReachability::Other);
    threads.mainQueue()->asyncAfter(1, [this, first] { reply(first); });
    start();
  }
  /// The application asks for a fetch, whose request goes out.
  void fetch(KLManager::OnResponse completion = {}) {
    manager->fetchCampaignsWithCompletion(std::move(completion));
    threads.run();
  }
  void reply(const KLValue& value) { replyTo(session.size() - 1, value); }
  void replyTo(std::size_t exchange, const KLValue& value) {
    const std::string text = KLJSON::serialize(value);
    session.answer(exchange, KLBytes(text.begin(), text.end()));
  }
  void track(const char* name) {
    notifications.post(kNimbraTrackEventNotification, event(name));
    threads.run();
  }

  FakeReachability reachability;
  std::shared_ptr<KLConfigOptions> options = std::make_shared<KLConfigOptions>("http://server/api", host.registry);
  std::shared_ptr<KLManager> manager;
  std::vector<std::string> shown;
  std::vector<std::shared_ptr<KLCampaign>> tests;
  std::vector<std::vector<std::string>> images;
  bool downloadFails = false;
};

TEST_F(KLManagerTest, StartFetchesAndEventsOfTheStartMeetTheFirstAnswer) {
  reachability.set(KLReachability::Other);
  manager->startWithConfigOptions(options);
  notifications.post(kNimbraTrackEventNotification, event("Pay"));
  threads.mainQueue()->async([this] { reply(answer({plan(1, "Pay")})); });
  threads.run();
  EXPECT_EQ(session[0].request.url,
            "http://server/api/klo/user_popup_configs?distinct_id=user-1&platform=IOS&project=default&sdk_version=0.7.3");
  EXPECT_THAT(shown, ElementsAre("1"));
  EXPECT_TRUE(manager->hasCompleteInit());
  EXPECT_FALSE(reachability.isMonitored());
  EXPECT_EQ(user.userId(), "server-user");
  EXPECT_EQ(recorder->story().front(), "-: fetched campaign config");
  EXPECT_THAT(recorder->users, ElementsAre(std::pair("server-user", "user-1")));
  EXPECT_EQ(recorder->diagnostors, 1);
  EXPECT_EQ(recorder->expiration, 2592000);
}

TEST_F(KLManagerTest, WithoutNetworkTheStartEndsAfterThirtySecondsWithTheStoredPlans) {
  startWith(answer({plan(1, "Pay")}));
  restart();
  reachability.set(KLReachability::NotReachable);
  const double began = clock.now();
  start();
  EXPECT_EQ(clock.now() - began, 30);
  EXPECT_EQ(session.size(), 1u);  // of the first run
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
  threads.advance(5000);
  EXPECT_EQ(session.size(), 1u);  // and no timer
}

TEST_F(KLManagerTest, NetworkThatComesBackDuringTheStartIsUsed) {
  threads.mainQueue()->asyncAfter(10, [this] { reachability.set(KLReachability::Cellular); });
  threads.mainQueue()->asyncAfter(11, [this] { reply(answer({plan(1, "Pay")})); });
  const double began = clock.now();
  start();
  EXPECT_EQ(clock.now() - began, 11);
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLManagerTest, AnswerAfterTheStartGaveUpIsInstalledAllTheSame) {
  reachability.set(KLReachability::Other);
  start();
  reply(answer({plan(1, "Pay")}));
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLManagerTest, RefreshFollowsTheServersIntervalAtTheNextRebuild) {
  startWith(answer({plan(1, "Pay")}, R"({"config_pull_interval_ms": 120999})"));
  EXPECT_EQ(options->fetchPlansInterval(), 120);
  threads.advance(119);
  EXPECT_EQ(session.size(), 1u);
  threads.advance(2);
  ASSERT_EQ(session.size(), 2u);
  reply(answer({plan(1, "Pay")}, R"({"config_pull_interval_ms": 999})"));
  threads.run();
  EXPECT_EQ(options->fetchPlansInterval(), 0);
  threads.advance(60);
  EXPECT_EQ(session.size(), 2u);  // the running timer keeps its period
  session.answer(1, KLBytes{});
}

TEST_F(KLManagerTest, FailedFetchKeepsThePlansAndGoesOn) {
  startWith(answer({plan(1, "Pay")}));
  threads.advance(600);
  session.answer(1, KLBytes{}, 500);
  threads.run();
  EXPECT_TRUE(host.log->contains("Fetch popup config failed"));
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
  threads.advance(600);
  EXPECT_EQ(session.size(), 3u);
}

TEST_F(KLManagerTest, AnswerThatIsNoJSONIsAConfigurationWithoutPlans) {
  startWith(answer({plan(1, "Pay")}));
  threads.advance(600);
  session.answer(1, KLBytes{'<'});
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, IsEmpty());
}

TEST_F(KLManagerTest, NewerVersionRequiredClearsPlansInMemoryAndInTheStore) {
  startWith(answer({plan(1, "Pay")}));
  threads.advance(600);
  reply(answer({plan(2, "Pay")}, R"({"min_sdk_version_required": "0.7.4"})"));
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, IsEmpty());
  EXPECT_TRUE(host.log->contains("minSdkVersion larger than current SDK version"));
  EXPECT_EQ(recorder->story(), std::vector<std::string>{"-: fetched campaign config"});
  restart();
  reachability.set(KLReachability::NotReachable);
  start();
  track("Pay");
  EXPECT_THAT(shown, IsEmpty());
}

TEST_F(KLManagerTest, LoginEmptiesThePlansAtOnceAndOnlyItsOwnAnswerIsInstalled) {
  startWith(answer({plan(1, "Pay")}));
  threads.advance(600);  // a refresh for the first user is under way
  host.nimbra->setIdentity("user-2", "login-2");
  notifications.post(kNimbraTrackLoginNotification);
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, IsEmpty());
  ASSERT_EQ(session.size(), 3u);
  EXPECT_THAT(session[2].request.url, ::testing::HasSubstr("distinct_id=user-2"));
  replyTo(1, answer({plan(1, "Pay")}));  // late, for the first user
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, IsEmpty());
  replyTo(2, answer({plan(2, "Pay")}, R"({"user_id": "second"})"));
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("2"));
  EXPECT_EQ(user.userId(), "second");
}

TEST_F(KLManagerTest, BackgroundStopsTheTimerAndReturnFetchesAtOnce) {
  startWith(answer({plan(1, "Pay")}));
  notifications.post(kKLApplicationDidBecomeActiveNotification);
  threads.run();
  EXPECT_EQ(session.size(), 1u);
  notifications.post(kKLApplicationDidEnterBackgroundNotification);
  threads.run();
  threads.advance(5000);
  EXPECT_EQ(session.size(), 1u);
  notifications.post(kKLApplicationDidBecomeActiveNotification);
  threads.run();
  EXPECT_EQ(session.size(), 2u);
  threads.advance(600);
  EXPECT_EQ(session.size(), 3u);
}

TEST_F(KLManagerTest, EventsThatNoPlanCanMeetAreNotQueuedUnlessALoggerIsToBeTold) {
  startWith(answer({plan(1, "Pay")}));
  notifications.post(kKLApplicationDidEnterBackgroundNotification);  // no timer
  threads.run();
  ASSERT_TRUE(threads.isIdle());
  const auto isQueued = [this](const char* name) {
    notifications.post(kNimbraTrackEventNotification, event(name));
    const bool queued = !threads.isIdle();
    threads.run();
    return queued;
  };
  EXPECT_TRUE(isQueued("Open"));
  host.registry.registerNBLog(nullptr);
  EXPECT_FALSE(isQueued("Open"));
  notifications.post(kNimbraTrackEventNotification, KLValue("no record"));
  EXPECT_TRUE(threads.isIdle());
  EXPECT_TRUE(isQueued("Pay"));
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLManagerTest, AnEventMeetsThePlansThatItsTurnInTheQueueBrings) {
  host.registry.registerNBLog(nullptr);
  startWith(answer({plan(1, "Pay")}));
  fetch();
  reply(answer({plan(2, "Open")}));
  notifications.post(kNimbraTrackEventNotification, event("Open"));
  threads.run();
  EXPECT_THAT(shown, ElementsAre("2")) << "behind the configuration that needs it";
  notifications.post(kNimbraTrackLoginNotification);
  notifications.post(kNimbraTrackEventNotification, event("Open"));
  threads.run();
  EXPECT_THAT(shown, ElementsAre("2")) << "behind the login that empties the plans";
}

TEST_F(KLManagerTest, AConfigurationOnItsWayLetsInOnlyEventsThatItListensTo) {
  const auto letIn = [this](std::initializer_list<const char*> names) {
    host.registry.registerNBLog(nullptr);
    for (const char* const name : names) notifications.post(kNimbraTrackEventNotification, event(name));
    host.registry.registerNBLog(host.log);
    host.log->clear();
    threads.run();
    std::vector<std::string> met;
    for (const char* const name : names) {
      if (host.log->contains(std::string("Start event triggle for event name: ") + name)) met.emplace_back(name);
    }
    return met;
  };
  startWith(answer({plan(1, "Pay")}));
  fetch();
  reply(answer({plan(2, "Open"), plan(3, "Leave", R"({"status": "PAUSED"})")}));
  EXPECT_THAT(letIn({"Elsewhere", "Pay", "Open", "Leave"}), ElementsAre("Pay", "Open", "Leave"));
  EXPECT_THAT(shown, ElementsAre("2"));
  EXPECT_THAT(letIn({"Elsewhere", "Pay", "Open", "Leave"}), ElementsAre("Open", "Leave")) << "once it is in force";

  downloadFails = true;
  fetch();
  reply(answer({plan(4, "Later")}));
  EXPECT_THAT(letIn({"Elsewhere", "Open", "Later"}), ElementsAre("Open", "Later"));
  EXPECT_THAT(letIn({"Elsewhere", "Open", "Later"}), ElementsAre("Later")) << "nor does one that could not be put into force whole";
}

TEST_F(KLManagerTest, NotificationsBeforeTheStartAreHeardAndSpoilNothing) {
  notifications.post(kKLApplicationDidEnterBackgroundNotification);
  notifications.post(kKLApplicationDidBecomeActiveNotification);
  notifications.post(kNimbraTrackLoginNotification);
  track("Pay");
  EXPECT_THAT(host.log->messages(1),
              ElementsAre("Kaleo Config optons was nil, you must initialize Kaleo SDK correctly", "Invalid api base url:  "));
  EXPECT_TRUE(host.log->contains("Start event triggle for event name: Pay"));
  EXPECT_TRUE(host.log->contains("This event does not need to resolve as it is not includes in plans"));
  EXPECT_EQ(session.size(), 0u);
  startWith(answer({plan(1, "Pay")}));
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
  threads.advance(600);
  EXPECT_EQ(session.size(), 2u) << "the application is in front, so the configuration is kept fresh";
}

TEST_F(KLManagerTest, AnswerInTheBackgroundIsInstalledAndStartsNoTimer) {
  startWith(answer({}));
  threads.advance(600);
  notifications.post(kKLApplicationDidEnterBackgroundNotification);
  threads.run();
  reply(answer({plan(1, "Pay")}));
  threads.run();
  threads.advance(5000);
  EXPECT_EQ(session.size(), 2u);
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLManagerTest, FetchOnDemandAnswersItsCaller) {
  std::vector<KLCampaignResponse> responses;
  const auto keep = [&](const KLCampaignResponse& response) { responses.push_back(response); };
  manager->fetchCampaignsWithCompletion(keep);
  ASSERT_EQ(responses.size(), 1u);
  EXPECT_EQ(responses[0].error, KLError::kaleo(KLError::NotInitialized, "You should not invoke this function before SDK init"));

  startWith(answer({}));
  fetch(keep);
  reply(answer({plan(1, "Pay")}));
  ASSERT_EQ(responses.size(), 2u);
  EXPECT_TRUE(responses[1].success);
  EXPECT_EQ(responses[1].campaigns.asArray().size(), 1u);
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));

  fetch(keep);
  session.answer(session.size() - 1, KLBytes{}, 503);
  EXPECT_FALSE(responses[2].success);
  EXPECT_EQ(responses[2].error, std::nullopt);
}

TEST_F(KLManagerTest, WindowsStayWithAnUnchangedPlanAndGoWithAChangedOne) {
  const char* const daily = R"({"popup_interval": {"unit": "DAY", "value": 1}, "last_update_config_time": "1"})";
  startWith(answer({plan(1, "Pay", daily)}));
  track("Pay");
  threads.advance(600);
  reply(answer({plan(1, "Pay", daily)}));
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1"));
  threads.advance(600);
  reply(answer({plan(1, "Pay", R"({"popup_interval": {"unit": "DAY", "value": 1}, "last_update_config_time": "2"})")}));
  threads.run();
  track("Pay");
  EXPECT_THAT(shown, ElementsAre("1", "1"));
}

TEST_F(KLManagerTest, StateMovesToTheUserIdThatTheServerGivesLater) {
  const char* const daily = R"({"popup_interval": {"unit": "DAY", "value": 1}})";
  KLObject first = answer({plan(1, "Pay", daily)}).asObject();
  first.erase("user_id");
  startWith(first);
  EXPECT_EQ(user.userId(), "user-1");
  track("Pay");
  threads.advance(600);
  reply(answer({plan(1, "Pay", daily)}));
  threads.run();
  track("Pay");
  EXPECT_EQ(user.userId(), "server-user");
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLManagerTest, PicturesArePreloadedUnlessSwitchedOff) {
  const auto config = answer({plan(1, "Pay", R"({"popup_window_content": {"content": "{\"image\":\"http://a\"}"}})")});
  startWith(config);
  options->setPreloadImage(false);
  threads.advance(600);
  reply(config);
  threads.run();
  EXPECT_THAT(images, ElementsAre(ElementsAre("http://a"), IsEmpty()));
}

TEST_F(KLManagerTest, DeepLinkShowsATestPopup) {
  startWith(answer({}));
  EXPECT_FALSE(manager->handleOpenURL("app://popupwindow?kl_popup_test=false&popup_window_id=12"));
  EXPECT_FALSE(manager->handleOpenURL("app://elsewhere?kl_popup_test=true&popup_window_id=12"));
  EXPECT_FALSE(manager->handleOpenURL("app://popupwindow?kl_popup_test=true&popup_window_id="));
  EXPECT_FALSE(manager->handleOpenURL("no url"));
  threads.run();
  EXPECT_EQ(session.size(), 1u);
  EXPECT_TRUE(manager->handleOpenURL("app://popupwindow?kl_popup_test=true&popup_window_id=..%2F12"));
  threads.run();
  ASSERT_EQ(session.size(), 2u);
  EXPECT_THAT(session[1].request.url, ::testing::StartsWith("http://server/api/klo/popup_windows/..%2F12?distinct_id=user-1&"));
  reply(KLObject{{"name", "Trial"}, {"content", "{}"}});
  ASSERT_EQ(tests.size(), 1u);
  EXPECT_EQ(tests[0]->name, "Trial");
  EXPECT_EQ(tests[0]->planID, std::nullopt);
  EXPECT_TRUE(manager->handleOpenURL("app://popupwindow?kl_popup_test=1&popup_window_id=13"));
  threads.run();
  reply(KLValue::Array{});
  EXPECT_EQ(tests.size(), 1u);
  EXPECT_TRUE(host.log->contains("No test popup window came for url: app://popupwindow?kl_popup_test=1&popup_window_id=13"));
}

TEST_F(KLManagerTest, ADeepLinkThatLaunchesTheApplicationIsOpenedRightAfterTheStart) {
  const char* const link = "app://popupwindow?kl_popup_test=true&popup_window_id=12";
  EXPECT_FALSE(manager->handleOpenURL(link)) << "there is no server yet";
  manager->startWithConfigOptions(options);
  EXPECT_TRUE(manager->handleOpenURL(link)) << "though the start sequence has not begun";
  threads.run();
  replyTo(0, KLObject{{"name", "Trial"}, {"content", "{}"}});
  EXPECT_EQ(tests.size(), 1u);
}

}  // namespace
}  // namespace kaleo
