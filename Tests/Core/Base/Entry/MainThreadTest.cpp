#include <gmock/gmock.h>
#include <sqlite3.h>

#include <chrono>

#include "Support/Application.h"
#include "Support/Gate.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using testing::Application;
using testing::Gate;
using testing::layout;
using testing::popupPlan;

/// A foreign connection that holds the file's write lock.
class BusyDatabase {
 public:
  explicit BusyDatabase(const std::filesystem::path& file) {
    sqlite3_open(file.c_str(), &database_);
    held_ = sqlite3_exec(database_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
  }
  ~BusyDatabase() { sqlite3_close(database_); }
  BusyDatabase(const BusyDatabase&) = delete;
  BusyDatabase& operator=(const BusyDatabase&) = delete;
  bool isHeld() const { return held_; }

 private:
  sqlite3* database_ = nullptr;
  bool held_ = false;
};

TEST(MainThreadTest, NoCallWaitsForThePopupTheStoreOrTheServer) {
  using Seconds = std::chrono::duration<double>;
  constexpr int kCalls = 1000, kCallsToAFetch = 50;
  constexpr double kBound = 1;  // far below the limits of the server (30 s), the store (5 s) and the popup (none)
  Gate slow;
  std::atomic<int> requests{0};
  LoopbackServer server([&](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [&](const auto&, httplib::Response& response) {
      if (requests++ > 0) slow.pass();
      response.set_content(KLJSON::serialize(testing::answer({popupPlan(1, "Pay", layout())})), "application/json");
    });
  });
  Application application({.server = server.url()});
  application.start();
  ASSERT_TRUE(application.shows("Pay", 1));
  std::optional<BusyDatabase> busy(std::in_place, application.database());
  ASSERT_TRUE(busy->isHeld());

  const std::vector<std::function<void()>> calls = {
      [&] { application.track("Pay"); },
      [&] { application.post(kNimbraTrackLoginNotification); },
      [&] { application.post(kKLApplicationDidEnterBackgroundNotification); },
      [&] { application.post(kKLApplicationDidBecomeActiveNotification); },
      [&] { application.library->handleOpenURL("app://popupwindow?kl_popup_test=false"); },
      [&] { application.library->isSupportedNBVersion(); },
      [&] { application.library->startWithConfigOptions(application.options); },
  };
  double longest = 0;
  const auto measure = [&](const std::function<void()>& call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    longest = std::max(longest, Seconds(std::chrono::steady_clock::now() - begin).count());
  };
  application.withWindow([&](KLHeadlessWindow* window) {
    ASSERT_TRUE(window);
    for (std::size_t i = 0; i < kCalls; ++i) {
      measure(calls[i % calls.size()]);
      if (i % kCallsToAFetch == 0) measure([&] { application.library->fetchCampaignsWithCompletion({}); });
    }
  });
  std::cout << "the longest of " << kCalls << " calls took " << longest * 1000 << " ms\n";
  EXPECT_LT(longest, kBound);
  EXPECT_EQ(application.windowsOnScreen(), 1u) << "all of it happened while the popup was on screen";
  busy.reset();
  slow.open();
}

}  // namespace
}  // namespace kaleo
