#include <gmock/gmock.h>
#include <sqlite3.h>

#include <future>

#include "Support/Application.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using testing::answer;
using testing::Application;
using ::testing::ElementsAre;
using testing::Installation;
using testing::layout;
using testing::popupPlan;

/// The answer that the server gives to `distinctId`: one plan whose id the user decides.
KLValue answerFor(const std::string& distinctId) {
  KLObject reply = answer({popupPlan(distinctId == "alice" ? 1 : 2, "Pay", layout())}).asObject();
  reply.set("user_id", "id-of-" + distinctId);
  return reply;
}

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
  Application alice({.server = server.url()});
  Application bob({.server = server.url(),
                   .distinctId = "bob",
                   .clockShift = 365 * 86400.0,
                   .installation = std::make_shared<Installation>(true)});
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
  Application application({.server = server.url()});
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
  Application application({.server = server.url()});
  EXPECT_TRUE(application.library->isSupportedNBVersion());
  for (const auto& [version, supported] : {std::pair("4.2.0", true), {"4.10.0", true}, {"4.1.9", false}}) {
    application.host().nimbra->setVersion(version);
    EXPECT_EQ(application.library->isSupportedNBVersion(), supported) << version;
  }
}

TEST_F(KaleoInstanceTest, LibraryThatNeverStartedEndsAtOnce) { Application({.server = server.url()}).library.reset(); }

TEST_F(KaleoInstanceTest, EndWhileTheServerDoesNotAnswer) {
  std::promise<void> asked, go;
  LoopbackServer slow([&](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [&](const httplib::Request&, httplib::Response&) {
      asked.set_value();
      go.get_future().wait();
    });
  });
  Application application({.server = slow.url()});
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
