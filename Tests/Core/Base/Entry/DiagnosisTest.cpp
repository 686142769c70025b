#include <gmock/gmock.h>

#include <map>
#include <mutex>
#include <stdexcept>

#include "Support/Application.h"
#include "Support/LoopbackServer.h"
#include "Support/SQLFile.h"
#include "kaleo-diagnosis/KLCampaignDiagnosis.h"

namespace kaleo {
namespace {

using testing::answer;
using testing::Application;
using testing::layout;
using testing::popupPlan;
using testing::SQLFile;

/// A server that asks for all records, and takes those that come.
class DiagnosisTest : public ::testing::Test {
 protected:
  /// Whether a record of `state` about `plan` came; waits for it as long as `patience` lets.
  bool came(const std::string& plan, KLDiagnosisState state, std::chrono::seconds patience = std::chrono::seconds(20)) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, patience, [&] { return records_.contains({plan, static_cast<std::int64_t>(state)}); });
  }
  std::size_t doubles() {
    const std::lock_guard lock(mutex_);
    std::size_t count = 0;
    for (const auto& [id, times] : times_) count += times > 1;
    return count;
  }

  std::string answer_ = "{}";  ///< to an upload
  LoopbackServer server{[this](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [](const httplib::Request&, httplib::Response& response) {
      const std::string more = R"({"diagnose_config": {"requests": ["report_user_diagnose_logs"]}})";
      response.set_content(KLJSON::serialize(answer(
                               {popupPlan(1, "Pay", layout(), R"({"re_enter": {"unit": "DAY", "value": 1, "limit": 1}})")}, more)),
                           "application/json");
    });
    routes.Post("/klo/user_diagnose_logs", [this](const httplib::Request& request, httplib::Response& response) {
      const KLValue page = KLJSON::parse(request.body).value();
      const std::lock_guard lock(mutex_);
      for (const KLValue& record : page.find("records")->asArray()) {
        ++times_[record.find("record_id")->asInteger()];
        records_[{record.find("plan_id")->asString(), record.find("state")->asInteger()}] = record;
      }
      arrived_.notify_all();
      response.set_content(answer_, "text/html");
    });
  }};

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::map<std::pair<std::string, std::int64_t>, KLValue> records_;  ///< by plan and state; guarded by mutex_
  std::map<std::int64_t, int> times_;                                ///< by record id; guarded by mutex_
};

TEST_F(DiagnosisTest, DecisionsAreRecordedAndUploadedWhenTheServerAsks) {
  Application application({.server = server.url(), .adjust = installCampaignDiagnosis});
  application.start();
  ASSERT_TRUE(application.showsAndCloses("Pay", 1));
  application.track("Pay");  // refused: one popup a day
  ASSERT_TRUE(application.ignores("Elsewhere"));
  application.library->fetchCampaignsWithCompletion({});
  EXPECT_TRUE(came("1", KLDiagnosisState::Finished));
  EXPECT_TRUE(came("1", KLDiagnosisState::ReEnterLimit));
  EXPECT_TRUE(came("", KLDiagnosisState::ConfigFetched));
  EXPECT_EQ(doubles(), 0u);
  // What became of the popup is told by the file alone.
  application.library.reset();
  const auto file = application.database().parent_path() / "QuillonDiagnosticJourneys.sqlite";
  EXPECT_EQ(SQLFile(file).rows("SELECT state, plan_id, user_id, acknowledged FROM Journeys WHERE state > 10 ORDER BY id"),
            (SQLFile::Rows{"11|1|server-user|1", "12|1|server-user|1"}));
  EXPECT_FALSE(came("1", KLDiagnosisState{11}, std::chrono::seconds(0)));
}

TEST_F(DiagnosisTest, PopupsShowWithoutARecorderThatCannotBeMade) {
  Application application({.server = server.url(), .adjust = [](KLPlatform& platform) {
                             platform.makeDiagnosis = [](const auto&) -> std::shared_ptr<KLDiagnosis> {
                               throw std::runtime_error("no thread");
                             };
                           }});
  application.start();
  EXPECT_TRUE(application.showsAndCloses("Pay", 1));
}

TEST_F(DiagnosisTest, TheLoginPageOfANetworkAcknowledgesNothing) {
  answer_ = "<html>Welcome</html>";
  Application application({.server = server.url(), .adjust = installCampaignDiagnosis});
  application.start();
  EXPECT_TRUE(application.log().waitFor("Diagnosis records could not be uploaded, next try in 30 seconds"));
}

}  // namespace
}  // namespace kaleo
