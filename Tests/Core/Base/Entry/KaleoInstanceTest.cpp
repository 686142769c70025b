#include <gmock/gmock.h>
#include <sqlite3.h>

#include <future>

#include "Platform/Headless/KLHeadlessWindow.h"
#include "Support/Configurations.h"
#include "Support/FakeHost.h"
#include "Support/LoopbackServer.h"
#include "Support/RecordingDelegates.h"
#include "Support/TemporaryDirectory.h"
#include "kaleo/KLView.h"
#include "kaleo/Kaleo.h"

namespace kaleo {
namespace {

using testing::answer;
using ::testing::ElementsAre;
using testing::event;
using testing::plan;

constexpr const char* kLayout = R"({"properties": {"maskCloseEnabled": true}, "template": {"type": "column",
    "layout": {"width": "300px"}, "subviews": [
      {"type": "label", "layout": {"width": "1"}, "properties": {"text": "Hello", "font": "20px", "msgType": "title"}},
      {"type": "button", "layout": {"width": "1", "height": "40px"}, "properties": {"text": "Close", "font": "16px"},
       "action": {"IOS": [{"id": "b", "type": "openlink", "value": "https://x", "closeable": true}]}}]}})";

/// The answer that the server gives to `distinctId`: one plan whose id the user decides.
KLValue answerFor(const std::string& distinctId) {
  KLObject popup = plan(distinctId == "alice" ? 1 : 2, "Pay");
  popup.set("popup_window_content", KLObject{{"content", kLayout}});
  KLObject reply = answer({popup}).asObject();
  reply.set("user_id", "id-of-" + distinctId);
  return reply;
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

/// One application with a whole library of its own.
class Application {
 public:
  Application(const std::string& distinctId, const std::string& server, double clockShift, bool encrypted)
      : host_(encrypted), notifications_(std::make_shared<KLNotificationCenter>()), platform_(KLPlatform::standard("kaleo-test")) {
    host_.nimbra->setIdentity(distinctId, "login-" + distinctId);
    platform_.host = std::shared_ptr<KLHostRegistry>(std::shared_ptr<void>(), &host_.registry);
    platform_.notificationCenter = notifications_;
    platform_.clock = std::make_shared<ShiftedClock>(clockShift);
    platform_.directories = {directory_ / "documents", directory_ / "library", directory_ / "caches", {}};
    windows_ = std::make_shared<KLHeadlessWindowFactory>(platform_.mainQueue, platform_.presentation.screen);
    platform_.presentation.windows = windows_;
    options_ = std::make_shared<KLConfigOptions>(server, host_.registry);
    options_->setPopupDelegate(delegates);
    options_->setCampaignDelegate(delegates);
    library = std::make_unique<KaleoInstance>(platform_);
  }

  void start() { library->startWithConfigOptions(options_); }
  void track(const char* name) { notifications_->post(kNimbraTrackEventNotification, event(name)); }
  void tapButton() {
    platform_.mainQueue->sync([this] {
      KLHeadlessWindow* const window = windows_->windowOnScreen();
      ASSERT_TRUE(window);
      KLView* const content = window->root()->subviews().front().get();
      const KLRect button = content->subviews().back()->frameInRoot();
      window->tap({button.x + button.width / 2, button.y + button.height / 2});
    });
  }
  std::size_t windowsOnScreen() {
    std::size_t count = 0;
    platform_.mainQueue->sync([&] { count = windows_->windowsOnScreen(); });
    return count;
  }
  std::vector<std::string> trackedEvents() {
    std::vector<std::string> names;
    for (const auto& tracked : host_.nimbra->tracked()) names.push_back(tracked.event);
    return names;
  }
  std::filesystem::path database() const { return directory_ / "documents" / "Kaleo_Popup.sqlite"; }
  testing::FakeHost& host() { return host_; }

  std::shared_ptr<testing::RecordingDelegates> delegates = std::make_shared<testing::RecordingDelegates>();

 private:
  TemporaryDirectory directory_;
  testing::FakeHost host_;
  std::shared_ptr<KLNotificationCenter> notifications_;
  KLPlatform platform_;
  std::shared_ptr<KLHeadlessWindowFactory> windows_;
  std::shared_ptr<KLConfigOptions> options_;

 public:
  std::unique_ptr<KaleoInstance> library;  ///< ends before what it stands on
};

std::string userIdsIn(const std::filesystem::path& file) {
  sqlite3* database = nullptr;
  std::string ids;
  sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_exec(
      database, "SELECT DISTINCT user_id FROM PlanWindows",
      [](void* out, int, char** values, char**) {
        *static_cast<std::string*>(out) += values[0];
        return 0;
      },
      &ids, nullptr);
  sqlite3_close(database);
  return ids;
}

class KaleoInstanceTest : public ::testing::Test {
 protected:
  LoopbackServer server{[](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [](const httplib::Request& request, httplib::Response& response) {
      response.set_content(KLJSON::serialize(answerFor(request.get_param_value("distinct_id"))), "application/json");
    });
  }};
};

TEST_F(KaleoInstanceTest, TwoWholeLibrariesRunInOneProcessAndKnowNothingOfEachOther) {
  Application alice("alice", server.url(), 0, false);
  Application bob("bob", server.url(), 365 * 86400.0, true);
  alice.start();
  bob.start();

  alice.track("Pay");
  ASSERT_TRUE(alice.delegates->waitFor("campaignDidStart 1"));
  EXPECT_EQ(alice.windowsOnScreen(), 1u);
  EXPECT_EQ(bob.windowsOnScreen(), 0u);
  alice.tapButton();
  ASSERT_TRUE(alice.delegates->waitFor("campaignDidEnd 1"));
  EXPECT_THAT(alice.delegates->calls(),
              ElementsAre("campaignShouldStart 1", "campaignDidStart 1", "popupLoadSuccess 1", "popupDidClick 1",
                          "campaignDidClick 1", "popupDidClose 1", "campaignDidEnd 1"));
  EXPECT_THAT(alice.trackedEvents(), ElementsAre("$PlanPopupDisplay", "$PlanPopupClick"));
  EXPECT_EQ(alice.windowsOnScreen(), 0u);
  EXPECT_THAT(bob.delegates->calls(), ::testing::IsEmpty());

  bob.track("Pay");
  ASSERT_TRUE(bob.delegates->waitFor("campaignDidStart 2"));
  const KLValue display = bob.host().nimbra->tracked().front().properties;
  EXPECT_EQ(display.find("kl_distinctId")->asString(), "bob");
  EXPECT_EQ(display.find("$kl_msg_title")->asString(), "Hello");

  bob.library.reset();  // while its popup is on screen
  alice.library.reset();
  EXPECT_EQ(bob.windowsOnScreen(), 0u);
  EXPECT_EQ(userIdsIn(alice.database()), "id-of-alice");
  const std::string encrypted = userIdsIn(bob.database());
  EXPECT_FALSE(encrypted.empty());
  EXPECT_THAT(encrypted, ::testing::Not(::testing::HasSubstr("bob")));
}

TEST_F(KaleoInstanceTest, RefusedOptionsLeaveTheStartFree) {
  Application application("alice", server.url(), 0, false);
  EXPECT_FALSE(application.library->startWithConfigOptions(nullptr));
  EXPECT_FALSE(application.library->startWithConfigOptions(std::make_shared<KLConfigOptions>("", application.host().registry)));
  EXPECT_THAT(
      application.host().log->messages(1),
      ElementsAre("config options should not be nil", "API Base URL should not be empty, please provide a valid api base url"));
  const auto options = std::make_shared<KLConfigOptions>(server.url(), application.host().registry);
  EXPECT_TRUE(application.library->startWithConfigOptions(options));
  EXPECT_FALSE(application.library->startWithConfigOptions(options));
}

TEST_F(KaleoInstanceTest, SupportedHostVersions) {
  Application application("alice", server.url(), 0, false);
  EXPECT_TRUE(application.library->isSupportedNBVersion());
  for (const auto& [version, supported] : {std::pair("4.2.0", true), {"4.10.0", true}, {"4.1.9", false}}) {
    application.host().nimbra->setVersion(version);
    EXPECT_EQ(application.library->isSupportedNBVersion(), supported) << version;
  }
}

TEST_F(KaleoInstanceTest, LibraryThatNeverStartedEndsAtOnce) { Application("alice", server.url(), 0, false).library.reset(); }

TEST_F(KaleoInstanceTest, EndWhileTheServerDoesNotAnswer) {
  std::promise<void> asked, go;
  LoopbackServer slow([&](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [&](const httplib::Request&, httplib::Response&) {
      asked.set_value();
      go.get_future().wait();
    });
  });
  Application application("alice", slow.url(), 0, false);
  application.start();
  asked.get_future().wait();
  application.track("Pay");
  application.library.reset();
  EXPECT_THAT(application.delegates->calls(), ::testing::IsEmpty());
  go.set_value();
}

TEST(Kaleo, VersionOfTheLibrary) { EXPECT_EQ(Kaleo::SDKVersion(), "0.7.3"); }

}  // namespace
}  // namespace kaleo
