#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Support/Application.h"
#include "Support/LoopbackServer.h"
#include "Support/ShortWaits.h"

namespace kaleo {
namespace {

using testing::Application;
using testing::layout;
using testing::popupPlan;

constexpr int kSwitches = 50;

/// Answers user "N" with the one plan N, which fires at "Pay". Once told so, it keeps what is asked for until all users have asked,
/// and then answers the latest first.
class UserServer {
 public:
  void holdBack() { holding_ = true; }
  bool waitForAsked(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLimit, [&] { return asked_ >= count; });
  }
  std::string url() const { return server_.url(); }

 private:
  /// Less than the 30 seconds that the library waits for an answer.
  static constexpr std::chrono::seconds kLimit{28};

  void answer(const httplib::Request& request, httplib::Response& response) {
    const int user = std::stoi(request.get_param_value("distinct_id"));
    if (holding_) waitForTurn(user);
    KLObject reply = testing::answer({popupPlan(user, "Pay", layout())}).asObject();
    reply.set("user_id", "id-of-" + std::to_string(user));
    response.set_content(KLJSON::serialize(KLValue(std::move(reply))), "application/json");
  }
  void waitForTurn(int user) {
    std::unique_lock lock(mutex_);
    ++asked_;
    changed_.notify_all();
    changed_.wait_for(lock, kLimit, [&] { return asked_ == kSwitches && answered_ == kSwitches - user; });
    ++answered_;
    changed_.notify_all();
  }

  std::atomic<bool> holding_{false};
  std::mutex mutex_;
  std::condition_variable changed_;
  int asked_ = 0;     ///< guarded by mutex_
  int answered_ = 0;  ///< guarded by mutex_
  LoopbackServer server_{[this](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [this](const auto& request, auto& response) { answer(request, response); });
  }};
};

class LifeTest : public ::testing::Test {
 protected:
  void switchTo(Application& application, int user) {
    application.login(std::to_string(user));
    application.post(kNimbraTrackLoginNotification);
  }
  Application::Setup userZero() { return {.server = server.url(), .distinctId = "0"}; }

  UserServer server;
};

TEST_F(LifeTest, LoginWhileAPopupIsOnScreen) {
  Application application(userZero());
  application.start();
  ASSERT_TRUE(application.shows("Pay", 0));
  switchTo(application, 1);
  application.tapButton();
  ASSERT_TRUE(application.delegates->waitFor("campaignDidEnd 0"));
  ASSERT_TRUE(application.installs(2));
  EXPECT_TRUE(application.shows("Pay", 1));
  EXPECT_EQ(application.windowsOnScreen(), 1u);
}

TEST_F(LifeTest, AnswersForEarlierUsersNeverFire) {
  Application application(userZero());
  application.start();
  ASSERT_TRUE(application.installs(1));
  server.holdBack();
  for (int user = 1; user <= kSwitches; ++user) {
    switchTo(application, user);
    ASSERT_TRUE(server.waitForAsked(user));
    if (user < kSwitches) application.track("Pay");  // decided before the next question; a popup would hold that up
  }
  ASSERT_TRUE(application.log().waitFor("Fetch popup config success", kSwitches + 1));
  ASSERT_TRUE(application.installs(2));  // the first user's and the last one's
  EXPECT_TRUE(application.showsAndCloses("Pay", kSwitches));
  EXPECT_EQ(application.delegates->calls().front(), "campaignShouldStart " + std::to_string(kSwitches));
}

TEST_F(LifeTest, BackgroundAndReturnFetchAnew) {
  Application application(userZero());
  application.start();
  ASSERT_TRUE(application.installs(1));
  application.post(kKLApplicationDidEnterBackgroundNotification);
  application.post(kKLApplicationDidBecomeActiveNotification);
  ASSERT_TRUE(application.installs(2));
  EXPECT_TRUE(application.showsAndCloses("Pay", 0));
}

TEST_F(LifeTest, HostThatComesAfterTheStart) {
  Application::Setup setup = userZero();
  setup.adjust = [](KLPlatform& platform) { platform.threading = std::make_shared<testing::ShortWaits>(platform.threading); };
  Application application(setup);
  application.host().registry.registerNimbraSDK(nullptr);
  application.start();
  EXPECT_TRUE(application.ignores("Pay"));
  EXPECT_TRUE(application.log().contains("Get Nimbra distinctId value failed"));
  application.host().registry.registerNimbraSDK(application.host().nimbra);
  switchTo(application, 1);
  ASSERT_TRUE(application.installs(1));
  EXPECT_TRUE(application.showsAndCloses("Pay", 1));
}

// A host, and an application, that throw.

struct ThrowingNimbra : NimbraSDK {
  explicit ThrowingNimbra(bool knowsUser) : knowsUser_(knowsUser) {}
  std::optional<std::string> distinctId() const override {
    if (knowsUser_) return "0";
    throw std::runtime_error("distinctId");
  }
  std::optional<std::string> loginId() const override { throw std::runtime_error("loginId"); }
  std::optional<std::string> anonymousId() const override { throw 1; }
  std::optional<KLValue> identities() const override { throw std::runtime_error("identities"); }
  std::optional<std::string> libVersion() const override { throw std::runtime_error("libVersion"); }
  std::shared_ptr<NBProjectSource> network() const override { throw std::runtime_error("network"); }
  void track(const std::string&, const KLValue&) override { throw std::runtime_error("track"); }

 private:
  bool knowsUser_;
};

struct ThrowingLog : NBLog {
  void log(bool, const std::string&, int, const char*, const char*, int, int) override { throw std::runtime_error("log"); }
};

struct ThrowingStore : NBStoreManager {
  std::optional<KLValue> objectForKey(const std::string&) const override { throw std::runtime_error("objectForKey"); }
  void setObject(const KLValue&, const std::string&) override { throw std::runtime_error("setObject"); }
  void removeObjectForKey(const std::string&) override { throw std::runtime_error("removeObjectForKey"); }
  bool isRegisteredCustomStorePlugin() const override { throw std::runtime_error("isRegisteredCustomStorePlugin"); }
};

struct ThrowingTracker : NBEventTracker {
  void setTrackEventHook(Hook) override { throw std::runtime_error("setTrackEventHook"); }
};

struct ThrowingDiagnosis : KLDiagnosis {
  void setDiagnosisExpiration(double) override { throw std::runtime_error("setDiagnosisExpiration"); }
  void addDiagnostor() override { throw std::runtime_error("addDiagnostor"); }
  void addContent(const KLValue&, KLDiagnosisState, KLDiagnosisType) override { throw std::runtime_error("addContent"); }
  void addContent(const KLValue&, const std::string&, KLDiagnosisState, KLDiagnosisType) override {
    throw std::runtime_error("addContent");
  }
  void flushWithCondition(const KLValue*) override { throw std::runtime_error("flushWithCondition"); }
  void saveJourneyId(const std::string&, const std::string&, const std::string&) override { throw std::runtime_error("journey"); }
  void saveUserId(const std::string&, const std::string&) override { throw std::runtime_error("saveUserId"); }
  void verifyDatabaseFile(const std::string&) override { throw std::runtime_error("verifyDatabaseFile"); }
  void addOutcome(const KLPopupOutcome&) override { throw std::runtime_error("addOutcome"); }
};

TEST_F(LifeTest, HostThatThrowsFromEveryCallback) {
  for (const bool knowsUser : {true, false}) {
    Application::Setup setup = userZero();
    setup.adjust = [&](KLPlatform& platform) {
      platform.host->registerNimbraSDK(std::make_shared<ThrowingNimbra>(knowsUser));
      platform.host->registerNBLog(std::make_shared<ThrowingLog>());
      platform.host->registerNBStoreManager(std::make_shared<ThrowingStore>());
      platform.host->registerNBEventTracker(std::make_shared<ThrowingTracker>());
      platform.diagnosis = std::make_shared<ThrowingDiagnosis>();
    };
    Application application(setup);
    application.start();
    EXPECT_FALSE(application.library->handleOpenURL("app://other"));
    EXPECT_TRUE(application.library->isSupportedNBVersion());
    EXPECT_NO_THROW(application.library->fetchCampaignsWithCompletion([](const auto&) { throw std::runtime_error("completion"); }));
    if (knowsUser) {
      EXPECT_TRUE(application.showsAndCloses("Pay", 0));
    } else {
      application.track("Pay");
    }
  }
}

struct ThrowingDelegates : testing::RecordingDelegates {
  void popupLoadSuccessWithPlanID(const std::string& id) override {
    RecordingDelegates::popupLoadSuccessWithPlanID(id);
    fail();
  }
  void popupLoadFailedWithPlanID(const std::string& id, const KLError& error) override {
    RecordingDelegates::popupLoadFailedWithPlanID(id, error);
    fail();
  }
  void popupDidClickWithPlanID(const std::string& id, const KaleoActionModel& action) override {
    RecordingDelegates::popupDidClickWithPlanID(id, action);
    fail();
  }
  void popupDidCloseWithPlanID(const std::string& id) override {
    RecordingDelegates::popupDidCloseWithPlanID(id);
    fail();
  }
  bool campaignShouldStart(const KLCampaign& campaign) override {
    const bool answer = RecordingDelegates::campaignShouldStart(campaign);
    if (answersThrow) throw std::runtime_error("campaignShouldStart");
    return answer;
  }
  void campaignDidStart(const KLCampaign& campaign) override {
    RecordingDelegates::campaignDidStart(campaign);
    fail();
  }
  void campaignDidClick(const KLCampaign& campaign) override {
    RecordingDelegates::campaignDidClick(campaign);
    fail();
  }
  void campaignDidEnd(const KLCampaign& campaign) override {
    RecordingDelegates::campaignDidEnd(campaign);
    fail();
  }
  void campaignFailed(const KLCampaign& campaign, const KLError& error) override {
    RecordingDelegates::campaignFailed(campaign, error);
    fail();
  }

  std::atomic<bool> answersThrow{false};

 private:
  [[noreturn]] static void fail() { throw std::runtime_error("delegate"); }
};

TEST_F(LifeTest, DelegatesThatThrow) {
  const auto delegates = std::make_shared<ThrowingDelegates>();
  Application application(userZero());
  application.delegates = delegates;
  application.options->setPopupDelegate(delegates);
  application.options->setCampaignDelegate(delegates);
  application.start();
  EXPECT_TRUE(application.showsAndCloses("Pay", 0, 1));
  delegates->answersThrow = true;
  application.track("Pay");
  EXPECT_TRUE(delegates->waitFor("campaignFailed 0 1004"));
  delegates->answersThrow = false;
  EXPECT_TRUE(application.showsAndCloses("Pay", 0, 2));
}

/// Calls every door of the library from inside the library's own calls.
struct CallingDelegates : testing::RecordingDelegates {
  void campaignDidStart(const KLCampaign& campaign) override {
    callIn();
    RecordingDelegates::campaignDidStart(campaign);
  }
  void campaignDidEnd(const KLCampaign& campaign) override {
    callIn();
    RecordingDelegates::campaignDidEnd(campaign);
  }
  bool campaignShouldStart(const KLCampaign& campaign) override {
    callIn();
    return RecordingDelegates::campaignShouldStart(campaign);
  }
  std::function<void()> callIn;
};

struct PostingNimbra : testing::FakeNimbra {
  void track(const std::string& name, const KLValue& properties) override {
    FakeNimbra::track(name, properties);
    post(KLObject{{"event", name}, {"properties", properties}});
  }
  std::function<void(const KLValue&)> post;
};

TEST_F(LifeTest, CallbacksThatCallTheLibrary) {
  const auto delegates = std::make_shared<CallingDelegates>();
  const auto nimbra = std::make_shared<PostingNimbra>();
  std::atomic<int> fetched{0};
  {
    Application application(userZero());
    nimbra->setIdentity("0");
    nimbra->post = [&](const KLValue& record) { application.post(kNimbraTrackEventNotification, record); };
    application.host().registry.registerNimbraSDK(nimbra);
    delegates->callIn = [&] {
      application.track("Other");
      application.library->handleOpenURL("app://popupwindow?kl_popup_test=true&popup_window_id=9");
      application.library->fetchCampaignsWithCompletion([&](const KLCampaignResponse& response) {
        fetched += response.success;
        application.library->handleOpenURL("app://popupwindow?kl_popup_test=true&popup_window_id=9");
        application.track("Other");
      });
    };
    application.delegates = delegates;
    application.options->setPopupDelegate(delegates);
    application.options->setCampaignDelegate(delegates);
    application.start();
    EXPECT_TRUE(application.showsAndCloses("Pay", 0, 1));
    EXPECT_TRUE(application.showsAndCloses("Pay", 0, 2));
    EXPECT_TRUE(application.installs(3));
  }
  EXPECT_GE(fetched, 2);
}

// The end.

TEST_F(LifeTest, EndOnTheMainThreadWhileAPopupWaits) {
  Application application(userZero());
  application.start();
  ASSERT_TRUE(application.shows("Pay", 0));
  application.onMain([&] { application.library.reset(); });
  EXPECT_EQ(application.windowsOnScreen(), 0u);
}

TEST_F(LifeTest, EndInsideADelegate) {
  const auto delegates = std::make_shared<CallingDelegates>();
  Application application(userZero());
  delegates->callIn = [&] { application.library.reset(); };
  application.delegates = delegates;
  application.options->setCampaignDelegate(delegates);
  application.start();
  application.track("Pay");
  EXPECT_TRUE(delegates->waitFor("campaignShouldStart 0"));
  EXPECT_EQ(application.windowsOnScreen(), 0u);
  EXPECT_THAT(delegates->calls(), ::testing::ElementsAre("campaignShouldStart 0"));
}

TEST_F(LifeTest, EndOnAnotherThreadWhileThousandsOfEventsWait) {
  constexpr int kEvents = 10'000;
  Application application(userZero());
  application.start();
  ASSERT_TRUE(application.shows("Pay", 0));
  for (int i = 0; i < kEvents; ++i) application.track("Pay");
  std::thread([&] { application.library.reset(); }).join();
  EXPECT_EQ(application.windowsOnScreen(), 0u);
  const auto calls = application.delegates->calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "campaignDidStart 0"), 1);
}

TEST_F(LifeTest, TwoLibrariesEndAtOnce) {
  Application first(userZero()), second({.server = server.url(), .distinctId = "1"});
  first.start();
  second.start();
  ASSERT_TRUE(first.shows("Pay", 0));
  ASSERT_TRUE(second.shows("Pay", 1));
  std::thread ending([&] { first.library.reset(); });
  second.library.reset();
  ending.join();
  EXPECT_EQ(first.windowsOnScreen() + second.windowsOnScreen(), 0u);
}

}  // namespace
}  // namespace kaleo
