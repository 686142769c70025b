#include "Core/Window/KLPopupPlan.h"

#include "Core/Window/PlanFixture.h"

namespace kaleo::testing {
namespace {

using ::testing::ElementsAre;

class KLPopupPlanTest : public PlanFixture {
 protected:
  /// A plan 7 whose matchers are `matchers`, with further members.
  std::unique_ptr<KLPopupPlan> planWith(const std::string& matchers, const std::string& more = "") {
    return plan("{'plan_id':7" + more + ",'pattern_popup':{'matcher_list':[" + matchers + "]}}");
  }
  static std::string matcher(const char* event, int needed, const char* unit = "HOUR", bool natural = false) {
    return "{'event_name':'" + std::string(event) + "','params':[" + std::to_string(needed) + "],'window':{'unit':'" + unit +
           "','value':1,'natural':" + (natural ? "true" : "false") + "}}";
  }
  std::int64_t milliseconds(const std::string& text) const { return static_cast<std::int64_t>(planTime.at(text) * 1000); }
};

TEST_F(KLPopupPlanTest, FiresWhenOneMatcherHasCountedEnough) {
  const auto plan = planWith(matcher("A", 2) + "," + matcher("B", 2));
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("B")));
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A"))) << "the count is not reset by firing";
  EXPECT_EQ(plan->triggerWindowForKey("0")->count, 3);
  EXPECT_EQ(plan->triggerWindowForKey("1")->count, 1);
  EXPECT_EQ(plan->triggerWindowForKey("2"), nullptr);
  EXPECT_EQ(plan->triggerWindowForKey("x"), nullptr);
}

TEST_F(KLPopupPlanTest, OneEventCountsInEveryMatcher) {
  const auto plan = planWith(matcher("A", 1) + "," + matcher("A", 3));
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_EQ(plan->triggerWindowForKey("1")->count, 1);
  EXPECT_EQ(reloaded(*plan)->triggerWindows(), plan->triggerWindows());
}

TEST_F(KLPopupPlanTest, NoneOrOneNeededFiresAtOnce) {
  for (const int needed : {-1, 0, 1}) EXPECT_TRUE(planWith(matcher("A", needed))->patternMatchWithEvent(anEvent("A"))) << needed;
  EXPECT_TRUE(planWith("{'event_name':'A'}")->patternMatchWithEvent(anEvent("A")));
}

TEST_F(KLPopupPlanTest, AnEndedWindowStartsAnew) {
  const auto plan = planWith(matcher("A", 2));
  plan->patternMatchWithEvent(anEvent("A"));
  planTime.clock.advance(3600);
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A"))) << "its last instant counts";
  planTime.clock.advance(0.5);
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_EQ(plan->triggerWindowForKey("0")->count, 1);
  EXPECT_EQ(plan->triggerWindowForKey("0")->startTime, planTime.clock.now());
}

TEST_F(KLPopupPlanTest, ANaturalWindowStartsWithItsPeriod) {
  const auto plan = planWith(matcher("A", 2, "DAY", true));
  plan->patternMatchWithEvent(anEvent("A"));
  EXPECT_EQ(plan->triggerWindowForKey("0")->startTime, planTime.at("2024-05-06 00:00:00"));
  planTime.set("2024-05-07 00:00:00");
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A")));
  planTime.set("2024-05-07 00:00:01");
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("A")));
}

TEST_F(KLPopupPlanTest, APatternJoinedByAndNeverFires) {
  const auto plan = this->plan("{'plan_id':7,'pattern_popup':{'relation':'AND','matcher_list':[{'event_name':'A'}]}}");
  host.log->clear();
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_THAT(logLines(), ElementsAre("Pattern match check for event: A",
                                      "Pattern relation is 'AND', does not support now, return not match by default"));
  EXPECT_TRUE(recorder->records().empty());
  EXPECT_TRUE(plan->triggerWindows().empty());
}

TEST_F(KLPopupPlanTest, TheGateComesBeforeTheMatchers) {
  const auto plan = planWith(matcher("A", 1), ",'event_permission':{'conditions':[{'field':'event.vip','function':'isTrue'}]}");
  host.log->clear();
  EXPECT_FALSE(plan->patternMatchWithEvent(anEvent("A")));
  EXPECT_THAT(logLines(),
              ElementsAre("Pattern match check for event: A", "Event permissions match check for event: A not satisfy"));
  EXPECT_TRUE(recorder->records().empty());
  EXPECT_TRUE(plan->patternMatchWithEvent(anEvent("A", "{'vip':true}")));
}

TEST_F(KLPopupPlanTest, SaysWhatItDoes) {
  const auto plan = planWith(matcher("A", 2) + "," + matcher("B", 1));
  host.log->clear();
  plan->patternMatchWithEvent(anEvent("A"));
  plan->patternMatchWithEvent(anEvent("B"));
  EXPECT_THAT(
      logLines(),
      ElementsAre("Pattern match check for event: A", "Create trigger window for plan: 7 at matcher index: 0",
                  "Save trigger window for plan: 7 at matcher index: 0, count is 1", "Event does not match pattern match filters",
                  "Pattern match check for event: A not satisfy", "Pattern match check for event: B",
                  "Event does not match pattern match filters", "Create trigger window for plan: 7 at matcher index: 1",
                  "Save trigger window for plan: 7 at matcher index: 1, count is 1", "Pattern match check for event: B satisfy"));
}

TEST_F(KLPopupPlanTest, RecordsWhyItDoesNotFire) {
  const auto plan = planWith(matcher("A", 3));
  plan->patternMatchWithEvent(anEvent("A"));
  ASSERT_EQ(recorder->records().size(), 1u);
  const auto counted = recorder->records()[0];
  EXPECT_EQ(counted.entityId, "7");
  EXPECT_EQ(counted.state, KLDiagnosisState::Pattern);
  EXPECT_EQ(counted.type, KLDiagnosisType::Trigger);
  EXPECT_EQ(counted.content, KLValue(KLObject{{"message", "not meet trigger count"},
                                              {"window_start", milliseconds("2024-05-06 12:00:00")},
                                              {"window_end", milliseconds("2024-05-06 13:00:00")},
                                              {"current_count", 1},
                                              {"campaign_count", 3},
                                              {"campaign_id", "7"}}));

  planTime.set("2024-05-06 20:00:00");
  plan->patternMatchWithEvent(fromJSON("{'event':'B','properties':{},'track_id':5,'_track_id':null}"));
  ASSERT_EQ(recorder->records().size(), 2u);
  EXPECT_EQ(recorder->records()[1].content, KLValue(KLObject{{"message", "not meet properties check"},
                                                             {"window_start", milliseconds("2024-05-06 12:00:00")},
                                                             {"window_end", milliseconds("2024-05-06 13:00:00")},
                                                             {"track_id", 5},
                                                             {"campaign_id", "7"}}))
      << "the finished window's times stand until its matcher matches again; an id that is null leaves its key out";

  planWith(matcher("A", 1))->patternMatchWithEvent(anEvent("B"));
  EXPECT_EQ(
      recorder->records()[2].content,
      KLValue(KLObject{{"message", "not meet properties check"}, {"window_start", 0}, {"window_end", 0}, {"campaign_id", "7"}}));
}

constexpr const char* kRules =
    ",'convert_window':{'unit':'DAY','value':1},'popup_interval':{'unit':'MINUTE','value':30},"
    "'re_enter':{'unit':'WEEK','natural':true,'value':1,'limit':3}";

TEST_F(KLPopupPlanTest, EveryWindowComesBack) {
  const auto plan = planWith(matcher("A", 5), kRules);
  plan->createConvertWindow("uuid-1");
  plan->createIntervalWindow();
  plan->createReEnter();
  plan->patternMatchWithEvent(anEvent("A"));

  EXPECT_EQ(plan->convertWindow()->uuid, "uuid-1");
  EXPECT_EQ(plan->convertWindow()->endTime, planTime.at("2024-05-07 12:00:00"));
  EXPECT_EQ(plan->popupIntervalWindow()->endTime, planTime.at("2024-05-06 12:30:00"));
  EXPECT_EQ(plan->reEnterWindow()->startTime, planTime.at("2024-05-06 00:00:00"));
  EXPECT_EQ(plan->reEnterWindow()->count, 1);

  const auto later = reloaded(*plan);
  EXPECT_EQ(later->convertWindow(), plan->convertWindow());
  EXPECT_EQ(later->popupIntervalWindow(), plan->popupIntervalWindow());
  EXPECT_EQ(later->reEnterWindow(), plan->reEnterWindow());
  EXPECT_EQ(later->triggerWindows(), plan->triggerWindows());
  const auto all = dataStore.planWindowsWithUserId("u");
  KLPopupPlan bulk(plan->sharedPlanModel(), surroundings);
  bulk.loadPlan(all.at("7"));
  EXPECT_EQ(bulk.convertWindow(), plan->convertWindow());
  EXPECT_EQ(bulk.popupIntervalWindow(), plan->popupIntervalWindow());
  EXPECT_EQ(bulk.reEnterWindow(), plan->reEnterWindow());
  EXPECT_EQ(bulk.triggerWindows(), plan->triggerWindows());

  currentUser.setUserId("another");
  EXPECT_FALSE(reloaded(*plan)->convertWindow());
}

TEST_F(KLPopupPlanTest, DeletedWindowsStayAway) {
  const auto plan = planWith(matcher("A", 5), kRules);
  plan->createConvertWindow("u");
  plan->createIntervalWindow();
  plan->createReEnter();
  plan->patternMatchWithEvent(anEvent("A"));
  host.log->clear();
  plan->updatePlanWindows({"unknown", "all_window"});
  EXPECT_THAT(logLines(),
              ElementsAre("Delete all data for plan: 7, include reEnter window, convert window, interval window, trigger windows",
                          "Delete reEnter window for plan: 7", "Delete convert window for plan: 7",
                          "Delete interval window for plan: 7", "Delete all trigger windows for plan: 7"));
  const auto later = reloaded(*plan);
  for (const KLPopupPlan* each : {plan.get(), later.get()}) {
    EXPECT_FALSE(each->convertWindow() || each->popupIntervalWindow() || each->reEnterWindow());
    EXPECT_TRUE(each->triggerWindows().empty());
  }
  ASSERT_TRUE(stored("7", Kind::TriggerWindows));
  EXPECT_EQ(KLTriggerWindowsFromArchivedData(*stored("7", Kind::TriggerWindows)), KLTriggerWindows{});
}

TEST_F(KLPopupPlanTest, LoadingRestoresAnEmptiedTriggerDictionaryAndKeepsWhatIsMissing) {
  const auto plan = planWith(matcher("A", 5), kRules);
  plan->patternMatchWithEvent(anEvent("A"));
  KLPopupPlan other(plan->sharedPlanModel(), surroundings);
  other.loadPlan();
  other.deleteTriggerWindows();
  plan->loadPlan();
  EXPECT_TRUE(plan->triggerWindows().empty());

  plan->createIntervalWindow();
  dataStore.saveWindowData(std::nullopt, Kind::IntervalWindow, "u", "7");
  dataStore.saveWindowData(KLBytes{1, 2, 3}, Kind::TriggerWindows, "u", "7");
  plan->loadPlan();
  EXPECT_TRUE(plan->popupIntervalWindow());
}

TEST_F(KLPopupPlanTest, AnUpdateFitsTheConvertWindowAndDropsTheCounts) {
  const auto before = planWith(matcher("A", 5), kRules);
  before->createConvertWindow("u");
  before->patternMatchWithEvent(anEvent("A"));
  planTime.clock.advance(600);
  const auto after = planWith(matcher("A", 5), ",'convert_window':{'unit':'DAY','value':3}");
  after->updatePlanWindows({"trigger_window", "convert_window"});
  EXPECT_EQ(after->convertWindow()->startTime, planTime.at("2024-05-06 12:00:00"));
  EXPECT_EQ(after->convertWindow()->endTime, planTime.at("2024-05-09 12:00:00"));
  EXPECT_EQ(after->convertWindow()->uuid, "u");
  EXPECT_EQ(reloaded(*after)->convertWindow(), after->convertWindow());
  EXPECT_TRUE(reloaded(*after)->triggerWindows().empty());
}

TEST_F(KLPopupPlanTest, AnUpdateWithoutAConvertWindowMakesNone) {
  const auto plan = planWith("", kRules);
  plan->updateConvertWindow();
  EXPECT_FALSE(plan->convertWindow() || reloaded(*plan)->convertWindow());

  plan->createConvertWindow("u");
  const auto without = planWith("");
  without->updateConvertWindow();
  EXPECT_EQ(without->convertWindow()->endTime, without->convertWindow()->startTime) << "no length any more";
}

TEST_F(KLPopupPlanTest, WindowOperationsSayWhatTheyDo) {
  const auto plan = planWith("", kRules);
  host.log->clear();
  plan->createConvertWindow("u");
  plan->createIntervalWindow();
  plan->createReEnter();
  plan->loadPlan();
  EXPECT_THAT(
      logLines(),
      ElementsAre("Create convert window for plan: 7", "Save interval window for plan: 7", "Create reEnter window for plan: 7",
                  "Current reEnter window count is: 1", "Save reEnter window for plan: 7",
                  "Load data for plan: 7, include reEnter window, convert window, interval window, trigger windows"));
}

TEST_F(KLPopupPlanTest, DisplayTimesAndConversions) {
  const auto plan = planWith("",
                             ",'display_time_config':{'natural_repeat_cycle':{'repeat_cycle':'DAY','time_ranges':"
                             "[{'start_time':'09:00','end_time':'12:00'}]}}");
  EXPECT_TRUE(plan->isInDisplayCycle());
  planTime.clock.advance(1);
  EXPECT_FALSE(plan->isInDisplayCycle());
  EXPECT_TRUE(planWith("")->isInDisplayCycle());
  EXPECT_FALSE(planWith("", ",'display_time_config':{}")->isInDisplayCycle());

  EXPECT_FALSE(plan->isConverted());
  plan->createConvertWindow("U");
  EXPECT_FALSE(plan->isConverted());
  KLPopupConvertResult result;
  result.convertTime = "1";
  host.store->setObject(KLValue(result.archivedData()), "ConvertResult_U");
  EXPECT_TRUE(plan->isConverted());
}

TEST_F(KLPopupPlanTest, AnyEventCanBeAsked) {
  const auto plan = planWith(matcher("A", 1));
  for (const char* json : {"null", "[]", "'A'", "{}", "{'event':['A']}", "{'event':null,'properties':5}", "{'event':7}"}) {
    EXPECT_FALSE(plan->patternMatchWithEvent(fromJSON(json))) << json;
  }
}

}  // namespace
}  // namespace kaleo::testing
