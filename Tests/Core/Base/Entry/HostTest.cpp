#include <gmock/gmock.h>

#include <atomic>
#include <shared_mutex>
#include <thread>
#include <utility>

#include "Support/Application.h"
#include "Support/Gate.h"
#include "Support/LoopbackServer.h"
#include "Support/ShortWaits.h"

// A library beside hosts that are not there, that change, that block, and that call it from inside their own callbacks.

namespace kaleo {
namespace {

using testing::Application;
using testing::FakeNimbra;
using testing::layout;
using testing::popupPlan;

constexpr const char* kTestLink = "app://popupwindow?kl_popup_test=true&popup_window_id=9";

/// Alice has plan 1, everybody else plan 2; both fire at "Pay".
class HostTest : public ::testing::Test {
 protected:
  std::atomic<int> requests{0};
  LoopbackServer server{[this](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [this](const httplib::Request& request, httplib::Response& response) {
      ++requests;
      const int plan = request.get_param_value("distinct_id") == "alice" ? 1 : 2;
      response.set_content(KLJSON::serialize(testing::answer({popupPlan(plan, "Pay", layout())})), "application/json");
    });
  }};
};

TEST_F(HostTest, ThatIsNeverThere) {
  Application application({.server = server.url(), .adjust = [](KLPlatform& platform) {
                             platform.host = std::make_shared<KLHostRegistry>();
                             platform.threading = std::make_shared<testing::ShortWaits>(platform.threading);
                           }});
  application.start();
  application.track("Pay");
  for (bool starting = true; starting; std::this_thread::yield()) {
    starting = false;
    application.library->fetchCampaignsWithCompletion(
        [&](const KLCampaignResponse& response) { starting = response.error && response.error->code == KLError::NotInitialized; });
  }
  application.post(kNimbraTrackLoginNotification);
  application.track("Pay");
  EXPECT_TRUE(application.library->isSupportedNBVersion());
  application.library.reset();
  EXPECT_EQ(requests, 0) << "there is no user to fetch for";
  EXPECT_THAT(application.delegates->calls(), ::testing::IsEmpty());
}

TEST_F(HostTest, ThatIsReplaced) {
  Application application({.server = server.url()});
  application.start();
  ASSERT_TRUE(application.installs(1));
  const auto second = std::make_shared<FakeNimbra>();
  second->setIdentity("bob");
  application.host().registry.registerNimbraSDK(second);
  application.post(kNimbraTrackLoginNotification);
  ASSERT_TRUE(application.installs(2));
  EXPECT_TRUE(application.showsAndCloses("Pay", 2));
  EXPECT_THAT(application.trackedEvents(), ::testing::IsEmpty());
  ASSERT_EQ(second->tracked().size(), 2u);
  EXPECT_EQ(second->tracked()[0].properties.find("kl_distinctId")->asString(), "bob");
}

struct BlockingNimbra : FakeNimbra {
  std::optional<std::string> distinctId() const override {
    if (blocks && !gate.pass()) gaveUp = true;
    return FakeNimbra::distinctId();
  }
  std::atomic<bool> blocks{false};
  mutable std::atomic<bool> gaveUp{false};
  mutable testing::Gate gate;
};

TEST_F(HostTest, ThatBlocksHoldsUpNoCall) {
  const auto nimbra = std::make_shared<BlockingNimbra>();
  nimbra->setIdentity("alice");
  Application application({.server = server.url()});
  application.host().registry.registerNimbraSDK(nimbra);
  application.start();
  ASSERT_TRUE(application.ignores("Other")) << "the start is over";
  nimbra->blocks = true;
  application.post(kNimbraTrackLoginNotification);
  application.track("Pay");
  application.library->fetchCampaignsWithCompletion({});
  EXPECT_TRUE(application.library->handleOpenURL(kTestLink));
  constexpr int kAsking = 3;  // the login, the fetch and the link
  EXPECT_TRUE(nimbra->gate.waitForArrivals(kAsking));
  nimbra->gate.open();
  ASSERT_TRUE(application.installs(2));
  EXPECT_TRUE(application.showsAndCloses("Pay", 1));
  EXPECT_FALSE(nimbra->gaveUp);
}

/// Goes through every door of a library, from wherever it is called.
class Doors {
 public:
  void open(Application* application) {
    const std::unique_lock lock(mutex_);
    application_ = application;
  }
  void close() { open(nullptr); }
  bool haveSeenEnough() const { return entered_ >= kEnough; }

  void enter() {
    thread_local bool inside = false;
    if (inside || entered_ >= kEnough) return;
    const std::shared_lock lock(mutex_, std::try_to_lock);
    if (!lock || !application_) return;
    inside = true;
    ++entered_;
    application_->track("Other");
    application_->library->handleOpenURL(kTestLink);
    application_->library->fetchCampaignsWithCompletion({});
    application_->library->isSupportedNBVersion();
    application_->library->startWithConfigOptions(application_->options);
    application_->options->setOrgID("");
    inside = false;
  }

 private:
  static constexpr int kEnough = 100;  // each call in makes the host be asked again

  std::shared_mutex mutex_;
  Application* application_ = nullptr;  ///< guarded by mutex_
  std::atomic<int> entered_{0};
};

struct CallingNimbra : FakeNimbra {
  explicit CallingNimbra(Doors& d) : doors(d) {}
  std::optional<std::string> distinctId() const override { return doors.enter(), FakeNimbra::distinctId(); }
  std::shared_ptr<NBProjectSource> network() const override { return doors.enter(), FakeNimbra::network(); }
  void track(const std::string& event, const KLValue& properties) override {
    doors.enter();
    FakeNimbra::track(event, properties);
  }
  Doors& doors;
};

struct CallingLog : testing::RecordingLog {
  explicit CallingLog(Doors& d) : doors(d) {}
  void log(bool asynchronous, const std::string& message, int level, const char* file, const char* function, int line,
           int context) override {
    RecordingLog::log(asynchronous, message, level, file, function, line, context);
    doors.enter();
  }
  Doors& doors;
};

struct CallingStore : testing::MemoryStore {
  explicit CallingStore(Doors& d) : doors(d) {}
  std::optional<KLValue> objectForKey(const std::string& key) const override {
    return doors.enter(), MemoryStore::objectForKey(key);
  }
  void setObject(const KLValue& value, const std::string& key) override {
    doors.enter();
    MemoryStore::setObject(value, key);
  }
  bool isRegisteredCustomStorePlugin() const override { return doors.enter(), true; }
  Doors& doors;
};

struct CallingTracker : NBEventTracker {
  explicit CallingTracker(Doors& d) : doors(d) {}
  void setTrackEventHook(Hook) override { doors.enter(); }
  Doors& doors;
};

TEST_F(HostTest, ThatCallsTheLibraryFromEveryCallback) {
  Doors doors;
  const auto log = std::make_shared<CallingLog>(doors);
  const auto nimbra = std::make_shared<CallingNimbra>(doors);
  nimbra->setIdentity("alice");
  Application application({.server = server.url(), .adjust = [&](KLPlatform& platform) {
                             platform.host->registerNimbraSDK(nimbra);
                             platform.host->registerNBLog(log);
                             platform.host->registerNBStoreManager(std::make_shared<CallingStore>(doors));
                             platform.host->registerNBEventTracker(std::make_shared<CallingTracker>(doors));
                           }});
  doors.open(&application);
  application.start();
  EXPECT_TRUE(log->waitFor("save and compare with local popup config"));
  while (!doors.haveSeenEnough()) application.track("Other");
  EXPECT_TRUE(application.shows("Pay", 1));
  doors.close();
  application.library.reset();
}

/// A logger of the process-wide library that calls it from inside its own making.
struct EntryLog : testing::RecordingLog {
  void log(bool asynchronous, const std::string& message, int level, const char* file, const char* function, int line,
           int context) override {
    RecordingLog::log(asynchronous, message, level, file, function, line, context);
    thread_local bool inside = false;
    if (std::exchange(inside, true)) return;
    Kaleo::handleOpenURL("app://elsewhere");
    inside = false;
  }
};

TEST(KaleoTest, IsMadeOnceAndHearsItsHostBeforeTheStart) {
  const TemporaryDirectory files;
  const auto log = std::make_shared<EntryLog>();
  Kaleo::host().registerNBLog(log);
  KLPlatform platform = KLPlatform::standard("kaleo-test");
  platform.directories = {files / "documents", files / "library", files / "caches", {}};
  Kaleo::setPlatform(platform);
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) callers.emplace_back([] { EXPECT_TRUE(Kaleo::isSupportedNBVersion()); });
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(log->count("KL Manager single instance init"), 1);
  Kaleo::setPlatform(platform);
  EXPECT_TRUE(log->contains("the platform cannot be changed after the first use of the library"));
  Kaleo::notificationCenter().post(kKLApplicationDidEnterBackgroundNotification);
  Kaleo::notificationCenter().post(kKLApplicationDidBecomeActiveNotification);
  EXPECT_TRUE(log->waitFor("Kaleo Config optons was nil, you must initialize Kaleo SDK correctly"));
  Kaleo::shutdown();
  EXPECT_FALSE(Kaleo::handleOpenURL(kTestLink));
}

}  // namespace
}  // namespace kaleo
