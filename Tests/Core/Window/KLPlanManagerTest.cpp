#include "Core/Window/KLPlanManager.h"

#include "Core/Window/PlanFixture.h"

namespace kaleo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class KLPlanManagerTest : public PlanFixture {
 protected:
  static std::string runnable(int id, int priority, const std::string& events) {
    return "{'plan_id':" + std::to_string(id) + ",'absolute_priority':" + std::to_string(priority) +
           ",'status':'ACTIVE','is_audience':true,'expire_at':'1e15'," + pattern(events) + "}";
  }
  static std::string pattern(const std::string& events) {
    std::string matchers;
    for (const char event : events) matchers += (matchers.empty() ? "" : ",") + ("{'event_name':'" + std::string(1, event) + "'}");
    return "'pattern_popup':{'matcher_list':[" + matchers + "]}";
  }

  void setPlans(const std::string& plans) {
    const KLValue value = fromJSON("{'popup_plans':[" + plans + "]}");
    manager.setPopupConfig(KLPopupConfig::fromResponseData(&value, log));
  }
  static std::vector<std::int64_t> ids(const KLPlanManager::Plans& plans) {
    std::vector<std::int64_t> found;
    for (const auto& plan : plans) found.push_back(plan->planModel().planID);
    return found;
  }

  KLPlanManager manager{surroundings};
};

TEST_F(KLPlanManagerTest, PlansThatMayNotRunAreRecordedOnceAndListenedTo) {
  setPlans("{'plan_id':1," + pattern("E") + "},{'plan_id':2,'expire_at':'1e15','status':'PAUSED'," + pattern("F") +
           "},{'plan_id':3,'expire_at':'1e15','status':'ACTIVE'," + pattern("G") + "}," + runnable(4, 0, "EH"));
  EXPECT_THAT(ids(manager.sortedPlans()), ElementsAre(4));
  EXPECT_THAT(manager.neededEvents(), ElementsAre("E", "F", "G", "H"));
  EXPECT_TRUE(manager.isNeededEvent("G"));
  EXPECT_FALSE(manager.isNeededEvent("g"));
  const char* messages[] = {"expired campaign", "not active", "not audience"};
  ASSERT_EQ(recorder->records().size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(recorder->records()[i].content, KLValue(KLObject{{"message", messages[i]}}));
    EXPECT_EQ(recorder->records()[i].entityId, std::to_string(i + 1));
    EXPECT_EQ(recorder->records()[i].state, KLDiagnosisState::PlanFiltered);
    EXPECT_EQ(recorder->records()[i].type, KLDiagnosisType::Config);
  }
}

TEST_F(KLPlanManagerTest, EventNamesComeOnceInFirstSeenOrder) {
  setPlans(runnable(1, 0, "BAB") + "," + runnable(2, 9, "CA") +
           ",{'plan_id':5,'pattern_popup':{'matcher_list':[{'event_name':''},{}]}}");
  EXPECT_THAT(manager.neededEvents(), ElementsAre("B", "A", "C"));
  ASSERT_TRUE(manager.eventsForPlan("1"));
  EXPECT_THAT(*manager.eventsForPlan("1"), ElementsAre("B", "A"));
  EXPECT_THAT(*manager.eventsForPlan("5"), IsEmpty());
  EXPECT_EQ(manager.eventsForPlan("01"), nullptr);
}

TEST_F(KLPlanManagerTest, ANewConfigurationReplacesAllButTheEventsOfPlansThatLeft) {
  setPlans(runnable(1, 0, "A"));
  const auto kept = manager.sortedPlans().front();
  setPlans(runnable(2, 0, "B"));
  EXPECT_THAT(ids(manager.sortedPlans()), ElementsAre(2));
  EXPECT_THAT(manager.neededEvents(), ElementsAre("B"));
  EXPECT_FALSE(manager.isNeededEvent("A"));
  EXPECT_THAT(manager.plansForEvent("A"), IsEmpty());
  EXPECT_THAT(*manager.eventsForPlan("1"), ElementsAre("A"));
  EXPECT_EQ(kept->planId(), "1") << "who holds a plan may go on with it";
  manager.setPopupConfig(nullptr);
  EXPECT_THAT(manager.sortedPlans(), IsEmpty());
  EXPECT_THAT(manager.neededEvents(), IsEmpty());
}

TEST_F(KLPlanManagerTest, OfPlansWithOneIdTheLastDecidesWhatBothListenTo) {
  setPlans(runnable(1, 9, "A") + "," + runnable(1, 3, "B") + ",{'plan_id':2," + pattern("C") + "}");
  EXPECT_EQ(manager.plansForEvent("B").size(), 2u);
  EXPECT_EQ(manager.plansForEvent("B")[0]->planModel().absolutePriority, 9);
  EXPECT_THAT(manager.plansForEvent("A"), IsEmpty());
  EXPECT_TRUE(manager.isNeededEvent("A"));
}

TEST_F(KLPlanManagerTest, FindsAPlanByTheIntegerOfAText) {
  setPlans(runnable(12, 0, "A"));
  for (const char* text : {"12", "0012", " 12", "12 and more"}) EXPECT_TRUE(manager.planWithPlanID(text)) << text;
  for (const char* text : {"1", "", "x12", "-12"}) EXPECT_FALSE(manager.planWithPlanID(text)) << text;
}

TEST_F(KLPlanManagerTest, RestoresTheWindowsOfEveryPlan) {
  setPlans(runnable(1, 0, "A") + "," + runnable(2, 9, "A"));
  manager.sortedPlans()[1]->patternMatchWithEvent(anEvent("A"));
  manager.sortedPlans()[0]->createReEnter();
  host.log->clear();
  manager.filterPlansAndEvents();
  EXPECT_THAT(logLines(),
              ElementsAre("Filter events and plans", "Load all plans data",
                          "Load data for plan: 2, include reEnter window, convert window, interval window, trigger windows",
                          "Load data for plan: 1, include reEnter window, convert window, interval window, trigger windows"));
  EXPECT_TRUE(manager.sortedPlans()[0]->reEnterWindow());
  EXPECT_TRUE(manager.sortedPlans()[0]->triggerWindows().empty());
  EXPECT_EQ(manager.sortedPlans()[1]->triggerWindows().size(), 1u);
}

TEST_F(KLPlanManagerTest, FiltersByTheClockThatItIsGiven) {
  const std::string soon = "{'plan_id':1,'status':'ACTIVE','is_audience':true,'expire_at':" +
                           std::to_string(static_cast<std::int64_t>(planTime.clock.now() * 1000)) + "}";
  setPlans(soon);
  EXPECT_EQ(manager.sortedPlans().size(), 1u);
  planTime.clock.advance(0.002);
  manager.filterPlansAndEvents();
  EXPECT_THAT(manager.sortedPlans(), IsEmpty());
}

}  // namespace
}  // namespace kaleo::testing
