#include "Core/Base/Manager/KLPopupConfigComparison.h"

#include <gmock/gmock.h>

#include "Support/Configurations.h"
#include "Support/FakeHost.h"

namespace kaleo {
namespace {

using testing::answer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::plan;

class KLPopupConfigComparisonTest : public ::testing::Test {
 protected:
  std::shared_ptr<KLPopupConfig> config(const std::string& more) { return config(answer({plan(1, "Pay", more)})); }
  std::shared_ptr<KLPopupConfig> config(const KLValue& json) { return KLPopupConfig::fromResponseData(&json, log_); }
  std::vector<std::string> resets(const std::string& now, const std::string& before) {
    return planWindowsToUpdateForPlan(*config(now)->popupPlanModels[0], *config(before)->popupPlanModels[0]);
  }

 private:
  KLHostRegistry host_;
  KLLog log_{host_};
};

TEST_F(KLPopupConfigComparisonTest, WithoutWindowUpdateTheTimeOfTheLastUpdateDecides) {
  EXPECT_THAT(resets(R"({"last_update_config_time": "1"})", R"({"last_update_config_time": "1"})"), IsEmpty());
  EXPECT_THAT(resets(R"({"last_update_config_time": "2"})", R"({"last_update_config_time": "1"})"), ElementsAre("all_window"));
  EXPECT_THAT(resets("{}", R"({"last_update_config_time": "1"})"), ElementsAre("all_window"));
  EXPECT_THAT(resets("{}", "{}"), IsEmpty());
}

TEST_F(KLPopupConfigComparisonTest, WindowUpdateNamesWhatItsStampsChanged) {
  const char* const now = R"({"window_update": {"trigger_window": 2, "convert_window": "a"}, "last_update_config_time": "9"})";
  EXPECT_THAT(resets(now, R"({"window_update": {"trigger_window": 1, "convert_window": "a"}})"), ElementsAre("trigger_window"));
  EXPECT_THAT(resets(now, R"({"window_update": {"trigger_window": 2.0}})"), ElementsAre("convert_window"));
  EXPECT_THAT(resets(now, "{}"), ElementsAre("trigger_window", "convert_window"));
  EXPECT_THAT(resets(R"({"window_update": {}, "last_update_config_time": "9"})", "{}"), IsEmpty());
}

TEST_F(KLPopupConfigComparisonTest, PlansThatTheServerDroppedLoseAllWindows) {
  const auto resets =
      planWindowResets(*config(answer({plan(2, "Pay"), plan(3, "Pay")})), *config(answer({plan(1, "Pay"), plan(2, "Pay")})));
  EXPECT_THAT(resets.removed, ElementsAre(std::pair(std::string("1"), std::vector<std::string>{"all_window"})));
  EXPECT_THAT(resets.changed, IsEmpty());
}

TEST_F(KLPopupConfigComparisonTest, ImagesOfPlansThatMayShow) {
  const std::string layout =
      R"({"popup_window_content": {"content": "{\"image\":\"http://a\",\"x\":{\"backgroundImage\":\"http://b\"}, \"image\": \"spaced\", \"image\":\"\"}"})";
  EXPECT_THAT(imagesForPopupConfig(*config(layout + "}"), 0), ElementsAre("http://a", "http://b", ""));
  for (const char* const hidden : {R"(, "is_control_group": true)", R"(, "strategy_id": "s", "is_trigger": false)",
                                   R"(, "status": "PAUSED")", R"(, "is_audience": false)", R"(, "expire_at": "1")"}) {
    EXPECT_THAT(imagesForPopupConfig(*config(layout + hidden + "}"), 1), IsEmpty()) << hidden;
  }
  EXPECT_THAT(imagesForPopupConfig(*config(layout + R"(, "strategy_id": "s", "is_control_group": true})"), 0).size(), 3);
}

}  // namespace
}  // namespace kaleo
